#ifndef OBVISTA_CAMERAVIEWER_CAMERA_LINK_H
#define OBVISTA_CAMERAVIEWER_CAMERA_LINK_H

#include "frame_feed.h"
#include "notice.h"
#include "picture_worker.h"
#include "video_client.h"

#include <obvista/viewer/robot_link.h>

#include <boost/shared_ptr.hpp>

#include <atomic>
#include <memory>
#include <string>

namespace cameraviewer {

/**
 * A viewer's connection to one robot, the watched camera, and the threads that call the robot and
 * decode its frames.
 *
 * One notice reports all events: answers, pictures, and the end.
 */
class CameraLink : public viewer::RobotLink {
  public:
    /**
     * Connects and requests the cameras; waits for the connection, not for the cameras.
     *
     * @throws KVError if the robot cannot be reached within the time-out
     */
    static std::shared_ptr<CameraLink> open(const boost::shared_ptr<KVBroker>& broker,
                                            const std::string& ip, int port, double timeOut);

    ~CameraLink() override;

    Notice& notice() { return fNotice; }
    VideoClient& client() { return fClient; }
    FrameFeed& feed() { return fFeed; }
    PictureWorker& worker() { return fWorker; }

    /** Watches a camera instead of the previous one. Does nothing if the link is closed. */
    void watch(const std::string& camera);
    void stopWatching();
    bool isWatching() const { return fStream != nullptr; }

    /** Returns true if the robot was lost before the link was closed. */
    bool isLost() const { return fIsLost; }

  private:
    CameraLink(const boost::shared_ptr<KVBroker>& broker, const std::string& ip, int port,
               double timeOut);

    void xStop() override;
    void xTellClosed() override;
    void xSilence() override;

    Notice fNotice;
    VideoClient fClient;
    PictureWorker fWorker;
    FrameFeed fFeed;
    std::atomic<bool> fIsLost{false};
    boost::shared_ptr<KVFrameStream> fStream;
};

}  // namespace cameraviewer

#endif
