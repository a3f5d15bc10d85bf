#include "network/reconnection.h"

#include <csignal>
#include <exception>
#include <utility>

namespace robaxi_tool {

Reconnection::Reconnection(std::string host, int timeout, std::function<void()> done)
    : fThread([this, host = std::move(host), timeout, done = std::move(done)] {
          try {
              fLink = std::make_unique<RobotLink>(host, timeout, fInterruption);
          } catch (const std::exception&) {
              // The robot is still gone, or the attempt was ended. Nothing can be said to the user
              // that the recording does not say already.
          }
          fIsDone = true;
          done();
      }) {
}

Reconnection::~Reconnection() {
    fInterruption.interrupt(SIGTERM);
    fThread.join();
}

}  // namespace robaxi_tool
