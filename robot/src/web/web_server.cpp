#include "web/web_server.h"

#include "web/web_connection.h"
#include "web/web_page.h"
#include "web/web_site.h"

#include <base/address.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <algorithm>
#include <list>
#include <sockets/line_writer.h>
#include <sockets/listener.h>
#include <stdexcept>
#include <thread>
#include <unistd.h>
#include <utility>

namespace robot {

namespace {

using boost::asio::ip::tcp;

constexpr std::size_t a_mostConnections = 64;

tcp::acceptor listen(boost::asio::io_context& context, const std::string& address, int port) {
    tcp::acceptor acceptor(context);
    const tcp::endpoint place(boost::asio::ip::make_address(address),
                              static_cast<std::uint16_t>(port));
    acceptor.open(place.protocol());
    acceptor.set_option(tcp::acceptor::reuse_address(true));
    acceptor.bind(place);
    acceptor.listen();
    return acceptor;
}

}  // namespace

struct WebServer::Private {
    Private(std::shared_ptr<const WebPage> page, std::string icon)
        : fSite(std::move(page), std::move(icon)) {}

    void serve(tcp::socket socket);
    bool makeRoom();
    void connectionClosed(std::list<WebConnection*>::iterator position);

    WebSite fSite;
    std::list<WebConnection*> fConnections;  // oldest first; they own themselves
    bool fEnding = false;                    // set when no handler is running
    boost::asio::io_context fContext{1};
    sockets::Listener fListener{
        fContext,
        sockets::Importance::Convenient,
        {[this](tcp::socket socket) { serve(std::move(socket)); }, [this] { return makeRoom(); },
         [](const std::string& text) {
             sockets::writeLine(STDERR_FILENO, "robaxi-robot: HTTP: " + text);
         }}};
    std::thread fThread;
};

void WebServer::Private::serve(tcp::socket socket) {
    if (fConnections.size() + 1 >= a_mostConnections && !makeRoom()) {
        fListener.pause();
    }
    const auto position = fConnections.insert(fConnections.end(), nullptr);
    const auto connection = std::make_shared<WebConnection>(
        std::move(socket), fSite, [this, position] { connectionClosed(position); });
    *position = connection.get();
    connection->start();
}

/** Closes the connection that has waited longest for its request. */
bool WebServer::Private::makeRoom() {
    const auto waiting =
        std::find_if(fConnections.begin(), fConnections.end(),
                     [](const WebConnection* each) { return each->isWaitingForRequest(); });
    if (waiting == fConnections.end()) {
        return false;
    }
    (*waiting)->close();
    return true;
}

void WebServer::Private::connectionClosed(std::list<WebConnection*>::iterator position) {
    fConnections.erase(position);
    if (!fEnding) {
        fListener.resume();
    }
}

WebServer::WebServer(const std::string& address, int port, std::shared_ptr<const WebPage> page,
                     std::string icon)
    : fPrivate(std::make_unique<Private>(std::move(page), std::move(icon))) {
    try {
        fPrivate->fListener.add(listen(fPrivate->fContext, address, port));
    } catch (const boost::system::system_error& failure) {
        throw std::runtime_error("cannot listen on " + base::hostAndPort(address, port) +
                                 " for HTTP: " + failure.code().message() +
                                 " (--http-port takes another port, or 0 for none)");
    }
    fPrivate->fThread = std::thread([this] { fPrivate->fContext.run(); });
}

WebServer::~WebServer() {
    fPrivate->fContext.stop();
    if (fPrivate->fThread.joinable()) {
        fPrivate->fThread.join();
    }
    fPrivate->fEnding = true;
}

void WebServer::setIconTrouble(IconTrouble trouble) {
    fPrivate->fSite.setIconTrouble(trouble);
}

IconTrouble WebServer::getIconTrouble() const {
    return fPrivate->fSite.getIconTrouble();
}

}  // namespace robot
