#include "doctor/http_get.h"

#include <base/address.h>
#include <base/http_response.h>

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/error.hpp>
#include <boost/beast/core/tcp_stream.hpp>

#include <array>

namespace asio = boost::asio;
namespace beast = boost::beast;

namespace robaxi_tool {

namespace {

using boost::system::error_code;

constexpr unsigned short a_httpPort = 80;

/** A connection whose operations share one deadline. Each returns when it has ended. */
class Connection {
  public:
    explicit Connection(std::chrono::milliseconds timeout) : fStream(fContext) {
        fStream.expires_after(timeout);
    }

    error_code connect(const asio::ip::tcp::endpoint& server) {
        fStream.async_connect(server, [this](const error_code& error) { fError = error; });
        return xRun();
    }

    error_code write(const std::string& text) {
        asio::async_write(fStream, asio::buffer(text),
                          [this](const error_code& error, std::size_t) { fError = error; });
        return xRun();
    }

    error_code read(asio::mutable_buffer to, std::size_t& count) {
        fStream.async_read_some(to, [this, &count](const error_code& error, std::size_t received) {
            fError = error;
            count = received;
        });
        return xRun();
    }

  private:
    error_code xRun() {
        fContext.restart();
        fContext.run();
        return fError;
    }

    asio::io_context fContext;
    beast::tcp_stream fStream;
    error_code fError;
};

std::string hostField(const asio::ip::address& server, unsigned short port) {
    // The scope of an IPv6 address has a meaning for this computer only.
    const std::string host = server.is_v6()
                                 ? asio::ip::address_v6(server.to_v6().to_bytes()).to_string()
                                 : server.to_string();
    const std::string withPort = base::hostAndPort(host, port);
    return port == a_httpPort ? withPort.substr(0, withPort.rfind(':')) : withPort;
}

/** Sends the request and receives the response. @return the reason if it fails, or empty */
std::string exchange(Connection& connection, const asio::ip::tcp::endpoint& server,
                     const std::string& request, std::size_t mostBytes, HttpAnswer& answer) {
    constexpr std::size_t stepSize = std::size_t{64} * 1024;
    error_code error = connection.connect(server);
    if (!error) {
        error = connection.write(request);
    }
    base::HttpResponse response;
    std::array<char, stepSize> bytes{};
    while (!error && !response.isComplete()) {
        std::size_t count = 0;
        error = connection.read(asio::buffer(bytes), count);
        const bool isClosed = error == asio::error::eof;
        if (isClosed) {
            error = {};
        }
        if (!error && !(isClosed ? response.end() : response.add(bytes.data(), count))) {
            return response.error();
        }
        answer.fStatus = response.status();
        answer.fBytes += response.takeBody().size();
        if (answer.fBytes > mostBytes) {
            return "more than " + std::to_string(mostBytes) + " bytes";
        }
    }
    if (error == beast::error::timeout) {
        return "no answer in time";
    }
    return error ? error.message() : std::string();
}

}  // namespace

HttpAnswer httpGet(const std::string& address, unsigned short port, const std::string& path,
                   std::chrono::milliseconds timeout, std::size_t mostBytes) {
    HttpAnswer answer;
    error_code error;
    const asio::ip::address server = asio::ip::make_address(address, error);
    if (error) {
        answer.fError = error.message();
        return answer;
    }
    Connection connection(timeout);
    answer.fError = exchange(
        connection, {server, port},
        "GET " + path + " HTTP/1.1\r\nHost: " + hostField(server, port) + "\r\nAccept: */*\r\n\r\n",
        mostBytes, answer);
    return answer;
}

}  // namespace robaxi_tool
