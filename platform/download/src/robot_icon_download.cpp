#include <download/robot_icon_download.h>
#include <utility>

namespace download {

RobotIconDownload::RobotIconDownload(std::string address, std::chrono::milliseconds timeout,
                                     std::function<void()> done)
    : fThread([this, address = std::move(address), timeout, done = std::move(done)] {
          fIcon = getRobotIcon(address, timeout, &fIsCancelled);
          fIsDone = true;
          if (done) {
              done();
          }
      }) {
}

RobotIconDownload::~RobotIconDownload() {
    fIsCancelled = true;
    fThread.join();
}

std::optional<RobotIcon> RobotIconDownload::take() {
    if (!fIsDone.exchange(false)) {
        return std::nullopt;
    }
    return std::move(fIcon);
}

}  // namespace download
