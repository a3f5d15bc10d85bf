#ifndef SOCKETS_HTTP_CONNECTION_H
#define SOCKETS_HTTP_CONNECTION_H

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <sockets/http_server.h>
#include <string>

namespace sockets {

/**
 * One client of an HTTP server: it sends one request, receives its answer, and the connection is
 * closed. The object owns itself while an operation is pending. All on the server's thread.
 *
 * Requests are read by Boost.Beast. Answers are written without its serializer, as the faulty ones
 * are bodies that it cannot send: one byte a second, or a few bytes repeated up to 64 MiB.
 */
class HttpConnection : public std::enable_shared_from_this<HttpConnection> {
  public:
    /**
     * @param answer returns the answers; must outlive the connection
     * @param closed called by the destructor
     */
    HttpConnection(boost::asio::ip::tcp::socket socket, const HttpServer::Answer& answer,
                   std::function<void()> closed);
    ~HttpConnection();
    HttpConnection(const HttpConnection&) = delete;
    HttpConnection& operator=(const HttpConnection&) = delete;

    void start();

    /** Returns true while its request has not arrived. */
    bool isWaitingForRequest() const { return fIsWaitingForRequest; }
    /** Closes it at once. */
    void close();

  private:
    void xAnswer(HttpAnswer answer);
    void xSend();
    void xSendMore();
    bool xTakeOutput();
    void xWaitForNextByte();
    /**
     * Waits until the client closes, up to this time: otherwise data that it has not read would be
     * lost.
     */
    void xLinger(std::chrono::seconds longest);
    void xDiscardInput();

    boost::beast::tcp_stream fStream;
    const HttpServer::Answer& fAnswerTo;
    std::function<void()> fClosed;
    boost::asio::steady_timer fPace;
    boost::beast::flat_buffer fBuffer;
    boost::beast::http::request_parser<boost::beast::http::empty_body> fParser;
    HttpAnswer fAnswer;
    std::uint64_t fBodyTaken = 0;  // bytes of the body that have been copied to fOutput
    bool fIsWaitingForRequest = true;
    std::string fOutput;
    std::array<char, 1024> fDiscarded{};
};

}  // namespace sockets

#endif
