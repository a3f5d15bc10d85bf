#include <base/address.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/error.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>

#include <download/http_get.h>
#include <utility>

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;

namespace download {

namespace {

using boost::system::error_code;

constexpr unsigned short a_httpPort = 80;
constexpr int a_http11 = 11;
/** From one look at the cancellation to the next. */
constexpr std::chrono::milliseconds a_step{20};

std::string hostField(const asio::ip::address& server, unsigned short port) {
    // The scope of an IPv6 address has a meaning for this computer only.
    const std::string host = server.is_v6()
                                 ? asio::ip::address_v6(server.to_v6().to_bytes()).to_string()
                                 : server.to_string();
    const std::string withPort = base::hostAndPort(host, port);
    return port == a_httpPort ? withPort.substr(0, withPort.rfind(':')) : withPort;
}

std::string reason(const error_code& error, std::size_t mostBytes) {
    if (error == http::error::body_limit) {
        return "more than " + std::to_string(mostBytes) + " bytes";
    }
    if (error == http::error::end_of_stream) {
        return "the connection was closed without an answer";
    }
    if (error == http::error::partial_message) {
        return "the connection was closed before the end of the answer";
    }
    return error == beast::error::timeout ? "no answer in time" : error.message();
}

}  // namespace

HttpAnswer httpGet(const std::string& address, unsigned short port, const std::string& path,
                   std::chrono::milliseconds timeout, std::size_t mostBytes,
                   const std::atomic<bool>* isCancelled) {
    HttpAnswer answer;
    error_code error;
    const asio::ip::address server = asio::ip::make_address(address, error);
    if (error) {
        answer.fError = error.message();
        return answer;
    }
    http::request<http::empty_body> request(http::verb::get, path, a_http11);
    request.set(http::field::host, hostField(server, port));
    request.set(http::field::accept, "*/*");
    http::response_parser<http::string_body> response;
    response.body_limit(mostBytes);
    beast::flat_buffer buffer;

    // Asynchronous operations, since only they end with the stream's deadline.
    asio::io_context context;
    beast::tcp_stream stream(context);
    const auto read = [&](const error_code& result, std::size_t) {
        error = result;
        if (!error) {
            http::async_read(stream, buffer, response,
                             [&](const error_code& end, std::size_t) { error = end; });
        }
    };
    stream.expires_after(timeout);
    stream.async_connect({server, port}, [&](const error_code& result) {
        error = result;
        if (!error) {
            http::async_write(stream, request, read);
        }
    });
    if (isCancelled == nullptr) {
        context.run();
    }
    while (!context.stopped() && !*isCancelled) {
        context.run_for(a_step);
    }
    if (!context.stopped()) {
        error = asio::error::operation_aborted;
    }

    if (response.is_header_done()) {
        answer.fStatus = response.get().result_int();
    }
    answer.fBody = std::move(response.get().body());
    answer.fError = error ? reason(error, mostBytes) : std::string();
    answer.fIsRefused = error == asio::error::connection_refused;
    return answer;
}

}  // namespace download
