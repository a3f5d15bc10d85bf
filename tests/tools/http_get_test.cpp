#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/streambuf.hpp>
#include <boost/asio/write.hpp>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <download/http_get.h>
#include <string>
#include <thread>
#include <utility>

namespace download {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

constexpr std::chrono::seconds a_longTime{60};

/** Answers one request, on a thread, and closes the connection. */
class Server {
  public:
    Server(const char* address, std::string answer)
        : fAcceptor(fContext, {asio::ip::make_address(address), 0}), fAnswer(std::move(answer)) {
        fThread = std::thread([this] { xServe(); });
    }
    ~Server() { fThread.join(); }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    unsigned short port() const { return fAcceptor.local_endpoint().port(); }

    /** Returns the received request. For use after httpGet(). */
    std::string request() {
        fThread.join();
        fThread = std::thread([] {});
        return fRequest;
    }

  private:
    void xServe() {
        tcp::socket client = fAcceptor.accept();
        boost::system::error_code error;
        asio::read_until(client, asio::dynamic_buffer(fRequest), "\r\n\r\n", error);
        asio::write(client, asio::buffer(fAnswer), error);
    }

    asio::io_context fContext;
    tcp::acceptor fAcceptor;
    const std::string fAnswer;
    std::string fRequest;
    std::thread fThread;
};

HttpAnswer get(const std::string& answer, std::size_t mostBytes = 10) {
    const Server server("127.0.0.1", answer);
    return httpGet("127.0.0.1", server.port(), "//media/buddy.icon", a_longTime, mostBytes);
}

TEST(HttpGet, requestsThePathAsItIs) {
    Server server("::1", "HTTP/1.1 404 Not Found\r\nContent-Length: 3\r\n\r\nwhy");
    const HttpAnswer answer = httpGet("::1", server.port(), "//media/buddy.icon", a_longTime, 10);
    EXPECT_EQ(answer.fError, "");
    EXPECT_EQ(answer.fStatus, 404U);
    EXPECT_EQ(answer.fBody.size(), 3U);
    EXPECT_EQ(server.request(), "GET //media/buddy.icon HTTP/1.1\r\nHost: [::1]:" +
                                    std::to_string(server.port()) + "\r\nAccept: */*\r\n\r\n");
}

TEST(HttpGet, bodyMayEndWithTheConnection) {
    const HttpAnswer answer = get("HTTP/1.0 200 OK\r\n\r\n0123456789");
    EXPECT_EQ(answer.fError, "");
    EXPECT_EQ(answer.fBody.size(), 10U);
}

TEST(HttpGet, reportsWhyThereIsNoAnswer) {
    EXPECT_EQ(get("").fError, "the connection was closed without an answer");
    EXPECT_EQ(get("HTTP/1.0 200 OK\r\n\r\n0123456789a").fError, "more than 10 bytes");
    EXPECT_EQ(get("HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\nhalf").fError,
              "the connection was closed before the end of the answer");
    EXPECT_NE(httpGet("robot1.local", 80, "/", a_longTime, 10).fError, "") << "not an IP address";
}

TEST(HttpGet, waitsForAnAnswerOnlySoLong) {
    asio::io_context context;
    const tcp::acceptor silent(context, {asio::ip::address_v4::loopback(), 0});
    const auto start = std::chrono::steady_clock::now();
    constexpr std::chrono::milliseconds timeout{50};
    const HttpAnswer answer =
        httpGet("127.0.0.1", silent.local_endpoint().port(), "/", timeout, 10);
    EXPECT_EQ(answer.fError, "no answer in time");
    EXPECT_GE(std::chrono::steady_clock::now() - start, timeout);
    const unsigned short port =
        tcp::acceptor(context, {asio::ip::address_v4::loopback(), 0}).local_endpoint().port();
    const HttpAnswer refusal = httpGet("127.0.0.1", port, "/", a_longTime, 10);
    EXPECT_EQ(refusal.fError, "Connection refused");
    EXPECT_TRUE(refusal.fIsRefused);
    EXPECT_FALSE(answer.fIsRefused);
}

TEST(HttpGet, endsWhenItIsCancelled) {
    asio::io_context context;
    tcp::acceptor silent(context, {asio::ip::address_v4::loopback(), 0});
    std::atomic<bool> isCancelled{false};
    HttpAnswer answer;
    std::thread download([&] {
        answer =
            httpGet("127.0.0.1", silent.local_endpoint().port(), "/", a_longTime, 10, &isCancelled);
    });
    const tcp::socket client = silent.accept();
    isCancelled = true;
    download.join();
    EXPECT_NE(answer.fError, "");
    EXPECT_NE(answer.fError, "no answer in time");
}

}  // namespace
}  // namespace download
