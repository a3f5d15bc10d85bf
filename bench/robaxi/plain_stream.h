#ifndef OBVISTA_BENCH_ROBAXI_PLAIN_STREAM_H
#define OBVISTA_BENCH_ROBAXI_PLAIN_STREAM_H

#include <cstddef>
#include <functional>
#include <string>
#include <thread>

/** A unidirectional byte stream over a plain TCP connection on the loopback. */
namespace plain_stream {

/** Sends generated data to one client at a time. */
class Server {
  public:
    /**
     * @param fill replaces the text with the data to send next; called as fast as the client reads,
     *         on a thread of the server
     */
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

    /** Reads some bytes, or exactly as many as requested. @return the number; 0 at the end */
    std::size_t readSome(char* to, std::size_t most) const;
    bool readAll(char* to, std::size_t count) const;

  private:
    int fSocket;
};

}  // namespace plain_stream

#endif
