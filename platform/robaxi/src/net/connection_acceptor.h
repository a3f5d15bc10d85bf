#ifndef ROBAXI_CONNECTION_ACCEPTOR_H
#define ROBAXI_CONNECTION_ACCEPTOR_H

#include "net/file_descriptor.h"

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
 * gRPC 1.51 can accept too, but its listener stops for good after the first error of accept(), such
 * as the one that descriptors ran out.
 *
 * A connection is a newcomer until gRPC has said through welcome() that its client may be here. A
 * newcomer goes to gRPC with its first bytes. It is closed when its time is over, or, oldest first,
 * when descriptors run out or there are too many newcomers.
 */
class ConnectionAcceptor {
  public:
    struct Settings {
        /** Time in which a client has to say hello. */
        std::chrono::milliseconds fTimeForHello{};
        /** Gives a descriptor to gRPC, which owns it then; on the acceptor's thread. */
        std::function<void(int)> fHandOver;
        /** Tells the user what is wrong; on the acceptor's thread. */
        std::function<void(const std::string&)> fReport;
    };

    explicit ConnectionAcceptor(Settings settings);
    /** Like stop(). */
    ~ConnectionAcceptor();
    ConnectionAcceptor(const ConnectionAcceptor&) = delete;
    ConnectionAcceptor& operator=(const ConnectionAcceptor&) = delete;

    /** Starts to accept from sockets that listen. To be called once. */
    void start(std::vector<FileDescriptor> listening);
    /** Accepts nothing more and hands nothing over any more. */
    void stop();

    /**
     * Lets a connection stay: its client is in a session. To be called from any thread.
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

    const Settings fSettings;
    boost::asio::io_context fContext{1};
    std::list<NewcomerPtr> fNewcomers;  // oldest first
    boost::asio::steady_timer fTimer{fContext};
    sockets::Listener fListener;
    std::thread fThread;
};

/** The address and port of a peer as grpc::ServerContext::peer() has them, without the escapes and
 *  the zone: "192.168.1.20:40000" or "[::1]:40000". */
std::string readablePeer(const std::string& peer);

}  // namespace robaxi

#endif
