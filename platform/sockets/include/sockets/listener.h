#ifndef OBVISTA_SOCKETS_LISTENER_H
#define OBVISTA_SOCKETS_LISTENER_H

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <functional>
#include <list>
#include <sockets/descriptor_reserve.h>
#include <string>

namespace sockets {

/**
 * Accepts TCP connections as long as it lives, whatever accept() reports.
 *
 * When the process runs out of descriptors, or only its reserve (descriptor_reserve.h) is left, a
 * connection that can be given up makes room for the new one; where there is none, the new
 * connection is closed. It reports so at most once in ten seconds. All operations and handlers run
 * on the thread of the context.
 */
class Listener {
  public:
    using Acceptor = boost::asio::ip::tcp::acceptor;
    using Socket = boost::asio::ip::tcp::socket;

    struct Handlers {
        /** Takes over a new connection. Its socket does not block. */
        std::function<void(Socket)> fTake;
        /** Closes a connection that can be given up. Returns false if there is none. */
        std::function<bool()> fMakeRoom;
        /** Tells the user that connections are closed; a sentence without its end. */
        std::function<void(const std::string&)> fReport;
    };

    Listener(boost::asio::io_context& context, Importance importance, Handlers handlers);
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /** Accepts from a socket that listens. */
    void add(Acceptor acceptor);

    /** Leaves new connections to the system's queue, until resume(). */
    void pause();
    void resume();

    /** @name Report the reason for which connections are closed, if nothing was reported lately */
    ///@{
    void reportExhaustion();
    void report(const std::string& reason);
    ///@}

  private:
    struct Entrance {
        Acceptor fAcceptor;
        bool fIsWaiting = false;
    };

    void xWait(Entrance& entrance);
    void xAccept(Entrance& entrance);
    /** Returns false if there is nothing more to accept now. */
    bool xAcceptOne(Acceptor& acceptor);
    void xRest();
    int xMoveBelowReserve(int descriptor);

    boost::asio::io_context& fContext;
    const Importance fImportance;
    const Handlers fHandlers;
    std::list<Entrance> fEntrances;
    boost::asio::steady_timer fRest;
    bool fIsPaused = false;
    bool fIsResting = false;
    std::chrono::steady_clock::time_point fNextReport;
};

}  // namespace sockets

#endif
