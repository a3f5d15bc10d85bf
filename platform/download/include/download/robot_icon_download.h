#ifndef DOWNLOAD_ROBOT_ICON_DOWNLOAD_H
#define DOWNLOAD_ROBOT_ICON_DOWNLOAD_H

#include <atomic>
#include <chrono>
#include <download/robot_icon.h>
#include <functional>
#include <optional>
#include <string>
#include <thread>

namespace download {

/**
 * A download of a robot's icon on a dedicated thread. The destructor ends it without waiting for
 * the robot.
 */
class RobotIconDownload {
  public:
    /**
     * Starts the download.
     *
     * @param address an IP address
     * @param done called on the thread of the download when take() has the result
     */
    RobotIconDownload(std::string address, std::chrono::milliseconds timeout,
                      std::function<void()> done = {});
    ~RobotIconDownload();
    RobotIconDownload(const RobotIconDownload&) = delete;
    RobotIconDownload& operator=(const RobotIconDownload&) = delete;

    /** Returns true if there is a result that was not taken. */
    bool isDone() const { return fIsDone; }
    /** Returns the result, once; nothing while there is none. */
    std::optional<RobotIcon> take();

  private:
    std::atomic<bool> fIsCancelled{false};
    std::atomic<bool> fIsDone{false};
    RobotIcon fIcon;  ///< of the thread until fIsDone
    std::thread fThread;
};

}  // namespace download

#endif
