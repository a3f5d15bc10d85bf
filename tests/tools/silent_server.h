#ifndef OBVISTA_TESTS_TOOLS_SILENT_SERVER_H
#define OBVISTA_TESTS_TOOLS_SILENT_SERVER_H

#include <chrono>
#include <string>

namespace obvista_test {

/** Something on loopback that takes connections and never says a word. */
class SilentServer {
  public:
    SilentServer();
    ~SilentServer();
    SilentServer(const SilentServer&) = delete;
    SilentServer& operator=(const SilentServer&) = delete;

    /** "127.0.0.1:PORT". */
    std::string place() const;

    /** Waits for the next client. @return false when none came in time */
    bool waitForClient(std::chrono::milliseconds timeout) const;

  private:
    int fSocket;
    int fPort = 0;
};

}  // namespace obvista_test

#endif
