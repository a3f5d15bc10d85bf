#ifndef OBVISTA_TESTS_ROBAXI_RELAY_H
#define OBVISTA_TESTS_ROBAXI_RELAY_H

#include <base/file_descriptor.h>

#include <atomic>
#include <cstddef>
#include <list>
#include <thread>
#include <vector>

namespace robaxi_test {

/**
 * Passes TCP connections on to another port of the loopback, and can be cut like a network that
 * drops all packets: nothing passes, and no end sees the other one close.
 */
class Relay {
  public:
    /** Starts listening on a free port. */
    explicit Relay(int robotPort);
    ~Relay();
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;

    int port() const { return fPort; }

    /** Returns when nothing passes any more. */
    void cut();
    /**
     * Lets data pass again, on the connections that the cut found and on new ones.
     *
     * @param keepsFormer false: the former ones stay cut, as with a transport that waits long until
     *        it repeats what was lost
     */
    void restore(bool keepsFormer);

    /**
     * Drops the handshakes of new connections, too, until passHandshakes(), also when the relay has
     * been restored. Only while the relay is cut.
     */
    void dropHandshakes();
    /** Passes the handshakes that the clients repeat from now on. */
    void passHandshakes();

    /** Returns the number of connections that are open at one end at least. */
    std::size_t countConnections() const { return fCount; }

  private:
    enum class State { Open, Cut };
    struct Connection;

    void xRun();
    void xSet(State state);
    void xAccept();
    static bool xPass(int from, int to);

    const int fRobotPort;
    int fPort = 0;
    base::FileDescriptor fListening{-1};
    std::vector<base::FileDescriptor> fFillers;  // of the queue of connections to accept
    std::list<Connection> fConnections;          // used on the thread only, like the next member
    bool fIsCut = false;
    std::atomic<State> fWanted{State::Open};
    std::atomic<bool> fKeepsFormer{true};
    std::atomic<bool> fDropsHandshakes{false};
    std::atomic<bool> fIsApplied{true};
    std::atomic<bool> fEnds{false};
    std::atomic<std::size_t> fCount{0};
    std::thread fThread;
};

}  // namespace robaxi_test

#endif
