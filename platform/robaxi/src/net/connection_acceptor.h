#ifndef ROBAXI_CONNECTION_ACCEPTOR_H
#define ROBAXI_CONNECTION_ACCEPTOR_H

#include <base/file_descriptor.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <functional>
#include <list>
#include <memory>
#include <sockets/listener.h>
#include <string>
#include <thread>
#include <vector>

namespace robaxi {

/**
 * Accepts the connections of a server and hands them to gRPC, on a dedicated thread.
 *
 * gRPC 1.51 can accept connections itself, but its listener stops for good after the first error of
 * accept(), for instance when descriptors have run out.
 *
 * A connection is a newcomer until gRPC reports through welcome() that its client is in a session.
 * A newcomer is handed to gRPC with its first bytes. It is closed when its time is over, or, oldest
 * first, when descriptors run out or there are too many newcomers. If newcomers have sent too many
 * bytes, the largest of the address that has sent most is closed, since gRPC 1.51 receives a
 * message of any announced size, and checks the size when it is complete.
 */
class ConnectionAcceptor {
  public:
    struct Settings {
        /** Time in which a client must send a hello. */
        std::chrono::milliseconds fTimeForHello{};
        /** Bytes that all newcomers together may have sent. */
        std::size_t fMostBytes = 0;
        /** Time after which the system gives up a connection whose client acknowledges nothing. */
        std::chrono::milliseconds fTimeOutOfTransport{};
        /** Passes ownership of a descriptor to gRPC; called on the acceptor's thread. */
        std::function<void(int)> fHandOver;
        /** Reports a problem to the user; called on the acceptor's thread. */
        std::function<void(const std::string&)> fReport;
    };

    explicit ConnectionAcceptor(Settings settings);
    /** Stops, as stop() does. */
    ~ConnectionAcceptor();
    ConnectionAcceptor(const ConnectionAcceptor&) = delete;
    ConnectionAcceptor& operator=(const ConnectionAcceptor&) = delete;

    /** Starts accepting from listening sockets. Called once. */
    void start(std::vector<base::FileDescriptor> listening);
    /** Stops accepting and handing over connections. */
    void stop();

    /**
     * Keeps a connection: its client is in a session. May be called from any thread.
     *
     * @param peer grpc::ServerContext::peer()
     */
    void welcome(const std::string& peer);

  private:
    using Socket = sockets::Listener::Socket;

    class Newcomer;
    using NewcomerPtr = std::shared_ptr<Newcomer>;

    void xTake(Socket socket);
    void xWaitForFirstBytes(const NewcomerPtr& newcomer);
    void xReadFirstByte(const NewcomerPtr& newcomer);
    void xHandOver(const NewcomerPtr& newcomer);
    void xWaitForEnd(const NewcomerPtr& newcomer);
    void xClose(const NewcomerPtr& newcomer);
    bool xMakeRoom();
    void xStartTimer();
    void xCloseTheLate();
    void xStartCounting();
    void xCloseTheLarge();

    const Settings fSettings;
    boost::asio::io_context fContext{1};
    std::list<NewcomerPtr> fNewcomers;  // oldest first
    boost::asio::steady_timer fTimer{fContext};
    boost::asio::steady_timer fCountTimer{fContext};
    bool fIsCounting = false;
    sockets::Listener fListener;
    std::thread fThread;
};

/**
 * Returns address and port of a peer from grpc::ServerContext::peer(), without the escapes and the
 * zone: "192.168.1.20:40000" or "[::1]:40000".
 */
std::string readablePeer(const std::string& peer);

/** Returns the address of such a peer, without the port. */
std::string addressOf(const std::string& peer);

}  // namespace robaxi

#endif
