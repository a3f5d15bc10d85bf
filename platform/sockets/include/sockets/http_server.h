#ifndef SOCKETS_HTTP_SERVER_H
#define SOCKETS_HTTP_SERVER_H

#include <functional>
#include <memory>
#include <sockets/http_answer.h>
#include <string>

namespace sockets {

/**
 * A small HTTP server, on one dedicated thread: one request for each connection.
 *
 * A client can only block its own connection: at most 64 are open at a time, and a request must
 * have arrived after 5 seconds and its answer must have been read after 20. At 64 connections, or
 * when file descriptors run out, the connection that has waited longest for its request is closed.
 */
class HttpServer {
  public:
    /** Returns the answer to a GET or HEAD request of a path, which has no query and begins with
     * one slash if the client sent two. Called on the server's thread. */
    using Answer = std::function<HttpAnswer(const std::string& path)>;

    /**
     * Starts serving.
     *
     * @param address IPv4 or IPv6; "0.0.0.0" for all addresses of both
     * @param warning start of the lines on standard error
     * @throws std::runtime_error if it cannot listen on the address and port
     */
    HttpServer(const std::string& address, int port, Answer answer, std::string warning);

    /** Closes all connections. */
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

  private:
    struct Private;
    std::unique_ptr<Private> fPrivate;
};

}  // namespace sockets

#endif
