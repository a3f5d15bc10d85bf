#include "http_connection.h"

#include <base/address.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ip/v6_only.hpp>

#include <algorithm>
#include <list>
#include <sockets/http_server.h>
#include <sockets/line_writer.h>
#include <sockets/listener.h>
#include <stdexcept>
#include <thread>
#include <unistd.h>
#include <utility>

namespace sockets {

namespace {

using boost::asio::ip::tcp;

constexpr std::size_t a_mostConnections = 64;

/** Listens on all addresses, those of IPv6, too, if the address is "0.0.0.0", as a broker does. */
tcp::acceptor listen(boost::asio::io_context& context, const std::string& address, int port) {
    tcp::acceptor acceptor(context);
    tcp::endpoint place(boost::asio::ip::make_address(address), static_cast<std::uint16_t>(port));
    boost::system::error_code withoutIpv6;
    if (place.address() == boost::asio::ip::address_v4::any() &&
        !acceptor.open(tcp::v6(), withoutIpv6)) {
        place.address(boost::asio::ip::address_v6::any());
    } else {
        acceptor.open(place.protocol());
    }
    if (place.address().is_v6()) {
        acceptor.set_option(boost::asio::ip::v6_only(false));
    }
    acceptor.set_option(tcp::acceptor::reuse_address(true));
    acceptor.bind(place);
    acceptor.listen();
    return acceptor;
}

}  // namespace

struct HttpServer::Private {
    Private(Answer answer, std::string warning)
        : fAnswer(std::move(answer)), fWarning(std::move(warning)) {}

    void serve(tcp::socket socket);
    bool makeRoom();
    void connectionClosed(std::list<HttpConnection*>::iterator position);

    const Answer fAnswer;
    const std::string fWarning;
    std::list<HttpConnection*> fConnections;  // oldest first; they own themselves
    bool fEnding = false;                     // set when no handler is running
    boost::asio::io_context fContext{1};
    Listener fListener{
        fContext,
        Importance::Convenient,
        {[this](tcp::socket socket) { serve(std::move(socket)); }, [this] { return makeRoom(); },
         [this](const std::string& text) { writeLine(STDERR_FILENO, fWarning + text); }}};
    std::thread fThread;
};

void HttpServer::Private::serve(tcp::socket socket) {
    if (fConnections.size() + 1 >= a_mostConnections && !makeRoom()) {
        fListener.pause();
    }
    const auto position = fConnections.insert(fConnections.end(), nullptr);
    const auto connection = std::make_shared<HttpConnection>(
        std::move(socket), fAnswer, [this, position] { connectionClosed(position); });
    *position = connection.get();
    connection->start();
}

/** Closes the connection that has waited longest for its request. */
bool HttpServer::Private::makeRoom() {
    const auto waiting =
        std::find_if(fConnections.begin(), fConnections.end(),
                     [](const HttpConnection* each) { return each->isWaitingForRequest(); });
    if (waiting == fConnections.end()) {
        return false;
    }
    (*waiting)->close();
    return true;
}

void HttpServer::Private::connectionClosed(std::list<HttpConnection*>::iterator position) {
    fConnections.erase(position);
    if (!fEnding) {
        fListener.resume();
    }
}

HttpServer::HttpServer(const std::string& address, int port, Answer answer, std::string warning)
    : fPrivate(std::make_unique<Private>(std::move(answer), std::move(warning))) {
    try {
        fPrivate->fListener.add(listen(fPrivate->fContext, address, port));
    } catch (const boost::system::system_error& failure) {
        throw std::runtime_error("cannot listen on " + base::hostAndPort(address, port) +
                                 " for HTTP: " + failure.code().message());
    }
    fPrivate->fThread = std::thread([this] { fPrivate->fContext.run(); });
}

HttpServer::~HttpServer() {
    fPrivate->fContext.stop();
    if (fPrivate->fThread.joinable()) {
        fPrivate->fThread.join();
    }
    fPrivate->fEnding = true;
}

}  // namespace sockets
