#ifndef OBVISTA_TESTS_ROBOT_TCP_CLIENT_H
#define OBVISTA_TESTS_ROBOT_TCP_CLIENT_H

#include <chrono>
#include <optional>
#include <string>

/** A client on loopback that sends and reads bytes as they are. */
class TcpClient {
  public:
    /** @throws std::system_error when nothing listens */
    explicit TcpClient(int port);
    ~TcpClient();
    TcpClient(const TcpClient&) = delete;
    TcpClient& operator=(const TcpClient&) = delete;

    /** @return false when the other end has closed */
    bool send(const std::string& bytes);

    /**
     * Reads until the other end closes, or at least `enough` bytes are there.
     *
     * @return nothing when neither happened in time
     */
    std::optional<std::string> read(std::size_t enough = std::string::npos,
                                    std::chrono::milliseconds timeout = std::chrono::seconds(60));

    /** Whether the other end sends nothing, and does not close, for so long. */
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

/** Sends "METHOD TARGET" with the target as it is, and reads the whole answer. */
HttpAnswer httpRequest(int port, const std::string& method, const std::string& target);
HttpAnswer httpGet(int port, const std::string& target);

#endif
