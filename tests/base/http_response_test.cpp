#include <base/http_response.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>

namespace base {
namespace {

/** Adds a text, in pieces of a size. */
bool add(HttpResponse& response, const std::string& text, std::size_t piece = 1) {
    for (std::size_t i = 0; i < text.size(); i += piece) {
        if (!response.add(text.data() + i, std::min(piece, text.size() - i))) {
            return false;
        }
    }
    return true;
}

/** Returns the error of a response, after the server has closed the connection. */
std::string errorOf(const std::string& text) {
    HttpResponse response;
    if (add(response, text) && response.end()) {
        return {};
    }
    return response.error();
}

std::string repeated(const std::string& text, std::size_t size) {
    std::string all;
    while (all.size() < size) {
        all += text;
    }
    return all;
}

TEST(HttpResponse, isTheSameInPiecesOfEverySize) {
    const std::string text =
        "HTTP/1.1 103 Early Hints\r\nA: b\r\n\r\nHTTP/1.1 200 OK\r\nTransfer-Encoding:  Chunked "
        "\r\n\r\n"
        "3\r\nabc\r\n2;x=y\r\nde\r\n0\r\nTrailer: t\r\n\r\nwhat follows";
    for (std::size_t piece = 1; piece <= text.size(); ++piece) {
        HttpResponse response;
        ASSERT_TRUE(add(response, text, piece)) << piece << response.error();
        EXPECT_TRUE(response.isComplete()) << piece;
        EXPECT_EQ(response.status(), 200);
        EXPECT_EQ(response.contentLength(), std::nullopt);
        EXPECT_EQ(response.takeBody(), "abcde") << piece;
        EXPECT_EQ(response.takeBody(), "");
    }
}

TEST(HttpResponse, hasItsHeaderBeforeItsBody) {
    HttpResponse response;
    EXPECT_TRUE(add(response, "HTTP/1.1 404 Not Found\r\nContent-Length: 7\r\n\r"));
    EXPECT_FALSE(response.hasHeader());
    EXPECT_EQ(response.status(), 0);
    EXPECT_TRUE(add(response, "\n"));
    EXPECT_TRUE(response.hasHeader());
    EXPECT_EQ(response.status(), 404);
    EXPECT_EQ(response.contentLength(), 7U);
    EXPECT_TRUE(add(response, "nothin"));
    EXPECT_EQ(response.takeBody(), "nothin");
    EXPECT_FALSE(response.isComplete());
    EXPECT_TRUE(add(response, "g"));
    EXPECT_TRUE(response.isComplete());
    EXPECT_EQ(response.takeBody(), "g");
    EXPECT_TRUE(response.end());
}

TEST(HttpResponse, endsWithTheConnectionIfItsSizeIsNotAnnounced) {
    HttpResponse response;
    EXPECT_TRUE(add(response, "HTTP/1.0 200 OK\r\n\r\nbody"));
    EXPECT_FALSE(response.isComplete());
    EXPECT_TRUE(response.end());
    EXPECT_TRUE(response.isComplete());
    EXPECT_EQ(response.takeBody(), "body");
}

TEST(HttpResponse, keepsTheBodyBeforeAnError) {
    HttpResponse response;
    EXPECT_TRUE(add(response, "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf"));
    EXPECT_FALSE(response.end());
    EXPECT_EQ(response.error(), "The connection was closed before the end of the answer");
    EXPECT_EQ(response.takeBody(), "half");
}

TEST(HttpResponse, reservesNoMemoryForAnAnnouncedSize) {
    HttpResponse response;
    EXPECT_TRUE(add(response, "HTTP/1.1 200 OK\r\nContent-Length: 18446744073709551614\r\n\r\nb"));
    EXPECT_EQ(response.contentLength(), 18446744073709551614U);
    EXPECT_LT(response.takeBody().capacity(), 100U);
}

TEST(HttpResponse, reportsWhyItIsInvalid) {
    EXPECT_EQ(errorOf(""), "The server closed the connection without an answer");
    EXPECT_EQ(errorOf("HTTP/1.1 200 OK\r\nContent-Len"), "The answer ended within its header");
    EXPECT_EQ(errorOf("hello\r\n\r\n").substr(0, 30), "The answer is not valid HTTP: ");
    const std::string ok = "HTTP/1.1 200 OK\r\n";
    for (const char* length : {"-5", "18446744073709551616", "1\r\nContent-Length: 2"}) {
        EXPECT_EQ(errorOf(ok + "Content-Length: " + length + "\r\n\r\n"),
                  "The answer is not valid HTTP: bad Content-Length")
            << length;
    }
    for (const char* coding : {"gzip", "gzip, chunked", "chunked, chunked"}) {
        EXPECT_EQ(errorOf(ok + "Transfer-Encoding: " + coding + "\r\n\r\n5\r\nabcde"),
                  "The answer has a transfer coding that was not asked for")
            << coding;
    }
    EXPECT_EQ(errorOf(ok + "Transfer-Encoding: chunked\r\n\r\nzz\r\n"),
              "The answer is not valid HTTP: bad chunk");
}

TEST(HttpResponse, boundsEverythingButItsBody) {
    const std::string ok = "HTTP/1.1 200 OK\r\n";
    const std::string tooLong = "The header of the answer is too long";
    const std::size_t most = HttpResponse::a_maximumHeaderSize;
    EXPECT_EQ(errorOf(repeated("x", most)), tooLong);
    EXPECT_EQ(errorOf("HTTP/1.1 200 " + repeated("x", most)), tooLong);
    EXPECT_EQ(errorOf(ok + "X: " + repeated("x", most)), tooLong);
    EXPECT_EQ(errorOf(ok + repeated("Set-Cookie: a=b\r\n", most)), tooLong);
    EXPECT_EQ(errorOf(repeated("HTTP/1.1 100 Continue\r\n\r\n", most)), tooLong);
    const std::string chunked = ok + "Transfer-Encoding: chunked\r\n\r\n";
    EXPECT_EQ(errorOf(chunked + "0\r\n" + repeated("Trailer: t\r\n", most)), tooLong);
    EXPECT_EQ(errorOf(chunked + "5;" + repeated("x", most)), tooLong);
    HttpResponse response;
    EXPECT_TRUE(add(response, ok + "\r\n" + repeated("body", 10 * most), 1000));
    EXPECT_EQ(response.takeBody().size(), 10 * most);
}

}  // namespace
}  // namespace base
