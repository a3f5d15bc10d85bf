#ifndef OBVISTA_BENCH_ROBAXI_PLAIN_STREAM_H
#define OBVISTA_BENCH_ROBAXI_PLAIN_STREAM_H

#include <cstddef>
#include <functional>
#include <string>
#include <thread>

/** A stream of bytes over a plain TCP connection on the loopback, in one direction. */
namespace plain_stream {

/** Sends to one client at a time whatever it is given to send. */
class Server {
  public:
    /** @param fill puts what is to be sent next in place of the text; is asked as fast as the
     *         client reads, on a thread of the server */
    explicit Server(std::function<void(std::string&)> fill);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    int port() const { return fPort; }

  private:
    void xServe();

    const std::function<void(std::string&)> fFill;
    int fPort = 0;
    const int fListener;
    std::thread fThread;
};

class Client {
  public:
    explicit Client(int port);
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /** Reads some bytes, or exactly as many as wanted. @return how many; 0 at the end */
    std::size_t readSome(char* to, std::size_t most) const;
    bool readAll(char* to, std::size_t count) const;

  private:
    int fSocket;
};

}  // namespace plain_stream

#endif
