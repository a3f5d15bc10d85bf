#ifndef OBVISTA_TOOLS_ROBAXI_NETWORK_RECONNECTION_H
#define OBVISTA_TOOLS_ROBAXI_NETWORK_RECONNECTION_H

#include "network/robot_link.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace robaxi_tool {

/** One attempt to find a robot again and to connect to it, on a dedicated thread. */
class Reconnection {
  public:
    /**
     * Starts the attempt.
     *
     * @param timeout seconds to find it, then to connect to it
     * @param done called on the thread of the attempt when isDone() becomes true
     */
    Reconnection(std::string host, int timeout, std::function<void()> done);
    /** Ends the attempt. Waits if it is already connecting. */
    ~Reconnection();
    Reconnection(const Reconnection&) = delete;
    Reconnection& operator=(const Reconnection&) = delete;

    bool isDone() const { return fIsDone; }
    /** Returns the link, or null if the attempt failed. For use after isDone(). */
    std::unique_ptr<RobotLink> take() { return std::move(fLink); }

  private:
    Interruption fInterruption;
    std::unique_ptr<RobotLink> fLink;  ///< of the thread until fIsDone
    std::atomic<bool> fIsDone{false};
    std::thread fThread;
};

}  // namespace robaxi_tool

#endif
