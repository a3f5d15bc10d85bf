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
 * Accepts TCP connections as long as it exists, whatever accept() reports.
 *
 * When the process runs out of descriptors, or only its reserve (descriptor_reserve.h) is left, it
 * closes a dispensable connection to make room for the new one; if there is none, it closes the new
 * connection. It reports this at most once in ten seconds. All operations and handlers run on the
 * thread of the context.
 */
class Listener {
  public:
    using Acceptor = boost::asio::ip::tcp::acceptor;
    using Socket = boost::asio::ip::tcp::socket;

    struct Handlers {
        /** Takes ownership of a new connection. Its socket is non-blocking. */
        std::function<void(Socket)> fTake;
        /** Closes a dispensable connection. Returns false if there is none. */
        std::function<bool()> fMakeRoom;
        /** Reports to the user that connections are closed; a sentence without the final stop. */
        std::function<void(const std::string&)> fReport;
    };

    Listener(boost::asio::io_context& context, Importance importance, Handlers handlers);
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /** Accepts connections from a listening socket. */
    void add(Acceptor acceptor);

    /** Leaves new connections in the system's queue, until resume(). */
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
    /** Returns false if there is nothing more to accept at present. */
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
