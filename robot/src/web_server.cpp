#include "web_server.h"

#include "endpoint.h"
#include "web_connection.h"
#include "web_page.h"
#include "web_site.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <stdexcept>
#include <thread>
#include <utility>

namespace robot {

namespace {

using boost::asio::ip::tcp;
using boost::system::error_code;

constexpr int a_mostConnections = 64;
constexpr std::chrono::milliseconds a_timeToRecover(100);

void listen(tcp::acceptor& acceptor, const std::string& address, int port) {
    const tcp::endpoint place(boost::asio::ip::make_address(address),
                              static_cast<std::uint16_t>(port));
    acceptor.open(place.protocol());
    acceptor.set_option(tcp::acceptor::reuse_address(true));
    acceptor.bind(place);
    acceptor.listen();
}

}  // namespace

struct WebServer::Private {
    Private(std::shared_ptr<const WebPage> page, std::string icon)
        : fSite(std::move(page), std::move(icon)) {}

    void accept();
    void serve(tcp::socket socket);
    void connectionClosed();

    WebSite fSite;
    int fConnections = 0;
    bool fEnding = false;  // set when no handler runs any more
    boost::asio::io_context fContext{1};
    tcp::acceptor fAcceptor{fContext};
    boost::asio::steady_timer fRecovery{fContext};
    std::thread fThread;
};

void WebServer::Private::accept() {
    fAcceptor.async_accept([this](const error_code& error, tcp::socket socket) {
        if (!error) {
            serve(std::move(socket));
            return;
        }
        // No descriptor left, say: there will be one again.
        fRecovery.expires_after(a_timeToRecover);
        fRecovery.async_wait([this](const error_code&) { accept(); });
    });
}

void WebServer::Private::serve(tcp::socket socket) {
    ++fConnections;
    std::make_shared<WebConnection>(std::move(socket), fSite, [this] {
        connectionClosed();
    })->start();
    if (fConnections < a_mostConnections) {
        accept();
    }
}

void WebServer::Private::connectionClosed() {
    const bool wasFull = fConnections == a_mostConnections;
    --fConnections;
    if (wasFull && !fEnding) {
        accept();
    }
}

WebServer::WebServer(const std::string& address, int port, std::shared_ptr<const WebPage> page,
                     std::string icon)
    : fPrivate(std::make_unique<Private>(std::move(page), std::move(icon))) {
    try {
        listen(fPrivate->fAcceptor, address, port);
    } catch (const boost::system::system_error& failure) {
        throw std::runtime_error("cannot listen on " + endpointText(address, port) +
                                 " for HTTP: " + failure.code().message() +
                                 " (--http-port takes another port, or 0 for none)");
    }
    fPrivate->accept();
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
