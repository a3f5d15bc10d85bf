#ifndef OBVISTA_TESTS_TOOLS_SILENT_SERVER_H
#define OBVISTA_TESTS_TOOLS_SILENT_SERVER_H

#include <chrono>
#include <string>

namespace obvista_test {

/** A server on loopback that accepts connections and never sends anything. */
class SilentServer {
  public:
    SilentServer();
    ~SilentServer();
    SilentServer(const SilentServer&) = delete;
    SilentServer& operator=(const SilentServer&) = delete;

    /** Returns "127.0.0.1:PORT". */
    std::string place() const;

    /** Waits for the next client. @return false if there was none in time */
    bool waitForClient(std::chrono::milliseconds timeout) const;

  private:
    int fSocket;
    int fPort = 0;
};

}  // namespace obvista_test

#endif
