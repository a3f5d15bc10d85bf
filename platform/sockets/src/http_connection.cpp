#include "http_connection.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/http/read.hpp>

#include <algorithm>
#include <utility>

namespace sockets {

namespace {

namespace http = boost::beast::http;
using boost::system::error_code;

constexpr std::chrono::seconds a_timeToAsk(5);
constexpr std::chrono::seconds a_timeToTake(20);
constexpr std::chrono::seconds a_timeToClose(2);
constexpr std::chrono::minutes a_timeToHang(10);
constexpr std::uint32_t a_longestHead = 8192;
constexpr std::uint64_t a_piece = 65536;

/** Returns the path without its query. */
std::string pathOf(const std::string& target) {
    std::string path = target.substr(0, target.find('?'));
    // Clients that join an address and an absolute path with a slash ask for "//media/...".
    return path.rfind("//", 0) == 0 ? path.substr(1) : path;
}

HttpAnswer answerTo(const HttpServer::Answer& answerTo, const std::string& method,
                    const std::string& target) {
    if (method != "GET" && method != "HEAD") {
        return HttpAnswer::failure(405, "Only GET and HEAD are answered here.");
    }
    HttpAnswer answer = answerTo(pathOf(target));
    if (method == "HEAD") {
        answer.fBody.clear();
    }
    return answer;
}

}  // namespace

HttpConnection::HttpConnection(boost::asio::ip::tcp::socket socket,
                               const HttpServer::Answer& answer, std::function<void()> closed)
    : fStream(std::move(socket)),
      fAnswerTo(answer),
      fClosed(std::move(closed)),
      fPace(fStream.get_executor()),
      fBuffer(a_longestHead) {
    fParser.header_limit(a_longestHead);
}

HttpConnection::~HttpConnection() {
    fClosed();
}

void HttpConnection::start() {
    // One deadline for the whole request, so that a client that sends it byte by byte is
    // disconnected.
    fStream.expires_after(a_timeToAsk);
    http::async_read_header(
        fStream, fBuffer, fParser,
        [self = shared_from_this()](const error_code& error, std::size_t) {
            self->fIsWaitingForRequest = false;
            if (error == http::error::end_of_stream || error == boost::beast::error::timeout ||
                error == boost::asio::error::operation_aborted) {
                return;
            }
            const auto& request = self->fParser.get();
            self->xAnswer(error ? HttpAnswer::failure(400, "This is not an HTTP request.")
                                : answerTo(self->fAnswerTo, std::string(request.method_string()),
                                           std::string(request.target())));
        });
}

void HttpConnection::close() {
    fIsWaitingForRequest = false;
    fStream.close();
}

void HttpConnection::xAnswer(HttpAnswer answer) {
    fAnswer = std::move(answer);
    if (fAnswer.fPace == HttpPace::Never) {
        xLinger(a_timeToHang);
        return;
    }
    fOutput = fAnswer.head();
    fStream.expires_after(a_timeToTake);
    xSend();
}

void HttpConnection::xSend() {
    boost::asio::async_write(fStream, boost::asio::buffer(fOutput),
                             [self = shared_from_this()](const error_code& error, std::size_t) {
                                 if (!error) {
                                     self->xSendMore();
                                 }
                             });
}

void HttpConnection::xSendMore() {
    if (!xTakeOutput()) {
        error_code ignored;
        fStream.socket().shutdown(boost::asio::ip::tcp::socket::shutdown_send, ignored);
        xLinger(a_timeToClose);
    } else if (fAnswer.fPace == HttpPace::ByteASecond) {
        xWaitForNextByte();
    } else {
        xSend();
    }
}

bool HttpConnection::xTakeOutput() {
    const std::uint64_t left = fAnswer.fLength - fBodyTaken;
    if (left == 0 || fAnswer.fBody.empty()) {
        return false;
    }
    const std::uint64_t wanted =
        fAnswer.fPace == HttpPace::ByteASecond ? 1 : std::min(left, a_piece);
    fOutput.clear();
    while (fOutput.size() < wanted) {
        const std::uint64_t from = (fBodyTaken + fOutput.size()) % fAnswer.fBody.size();
        fOutput.append(fAnswer.fBody, from, wanted - fOutput.size());
    }
    fBodyTaken += fOutput.size();
    return true;
}

void HttpConnection::xWaitForNextByte() {
    fPace.expires_after(std::chrono::seconds(1));
    fPace.async_wait([self = shared_from_this()](const error_code& error) {
        if (!error) {
            self->fStream.expires_after(a_timeToTake);
            self->xSend();
        }
    });
}

void HttpConnection::xLinger(std::chrono::seconds longest) {
    fStream.expires_after(longest);
    xDiscardInput();
}

void HttpConnection::xDiscardInput() {
    fStream.async_read_some(boost::asio::buffer(fDiscarded),
                            [self = shared_from_this()](const error_code& error, std::size_t) {
                                if (!error) {
                                    self->xDiscardInput();
                                }
                            });
}

}  // namespace sockets
