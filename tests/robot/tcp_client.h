#ifndef OBVISTA_TESTS_ROBOT_TCP_CLIENT_H
#define OBVISTA_TESTS_ROBOT_TCP_CLIENT_H

#include <boost/asio/ip/address.hpp>

#include <chrono>
#include <optional>
#include <string>

/** A client on loopback that sends and receives raw bytes. */
class TcpClient {
  public:
    /** @throws std::system_error if nothing listens */
    explicit TcpClient(int port);
    /** Connects to an address of loopback. @throws std::system_error if nothing listens */
    TcpClient(const boost::asio::ip::address& address, int port);
    ~TcpClient();
    TcpClient(const TcpClient&) = delete;
    TcpClient& operator=(const TcpClient&) = delete;

    /** @return false if the peer has closed */
    bool send(const std::string& bytes);

    /**
     * Reads until the peer closes, or at least `enough` bytes have arrived.
     *
     * @return nothing if neither happened in time
     */
    std::optional<std::string> read(std::size_t enough = std::string::npos,
                                    std::chrono::milliseconds timeout = std::chrono::seconds(60));

    /**
     * Waits until the peer has been silent for `time` without closing; returns false if it closes
     * or sends.
     */
    bool isSilentFor(std::chrono::milliseconds time);

  private:
    bool xWaitUntilReadable(std::chrono::milliseconds timeout) const;

    int fSocket;
};

/** A parsed answer to one HTTP request. */
struct HttpAnswer {
    int fStatus = 0;
    std::string fHead;
    std::string fBody;
};

/** Sends "METHOD TARGET" with the unchanged target, and reads the whole answer. */
HttpAnswer httpRequest(int port, const std::string& method, const std::string& target);
HttpAnswer httpGet(int port, const std::string& target);

#endif
