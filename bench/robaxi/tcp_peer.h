#ifndef OBVISTA_BENCH_ROBAXI_TCP_PEER_H
#define OBVISTA_BENCH_ROBAXI_TCP_PEER_H

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <vector>

/**
 * Calls over a plain TCP connection: a minimal implementation with the same hand-over between
 * threads as the middleware. On the client one thread reads for all callers and wakes them, on the
 * server one thread reads and hands the calls to a pool.
 */
namespace tcp_peer {

/** A request or an answer: an identifying number and a payload. */
struct Message {
    std::uint64_t fId = 0;
    char fPayload[24] = {};
};

class Server {
  public:
    /** Serves one connection on a port of the loopback. */
    explicit Server(std::size_t threads);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    int port() const { return fPort; }

  private:
    void xRead();
    void xWork();

    int fPort = 0;
    const int fListener;
    int fConnection = -1;
    std::mutex fMutex;
    std::condition_variable fWork;
    std::deque<Message> fQueue;
    bool fStop = false;
    std::mutex fSending;
    std::vector<std::thread> fThreads;
};

class Client {
  public:
    explicit Client(int port);
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /** Sends a request and waits for its answer. */
    Message call();

  private:
    struct Pending {
        std::condition_variable fAnswered;
        Message fAnswer;
        bool fIsAnswered = false;
    };

    void xRead();

    int fSocket;
    std::mutex fMutex;
    std::mutex fSending;
    std::unordered_map<std::uint64_t, Pending*> fPending;
    std::uint64_t fLastId = 0;
    std::thread fReader;
};

}  // namespace tcp_peer

#endif
