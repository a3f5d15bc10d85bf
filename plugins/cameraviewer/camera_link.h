#ifndef OBVISTA_CAMERAVIEWER_CAMERA_LINK_H
#define OBVISTA_CAMERAVIEWER_CAMERA_LINK_H

#include "frame_feed.h"
#include "picture_worker.h"
#include "video_client.h"

#include <obvista/viewer/robot_link.h>

#include <boost/shared_ptr.hpp>

#include <memory>
#include <string>

namespace cameraviewer {

/**
 * A viewer's connection to one robot, the watched camera, and the threads that call the robot and
 * decode its frames. Its notice is given for answers and pictures too.
 */
class CameraLink : public obvista::RobotLink {
  public:
    /**
     * Connects and requests the cameras; waits for the connection, not for the cameras.
     *
     * @throws KVError if the robot cannot be reached within the time-out
     */
    CameraLink(const boost::shared_ptr<KVBroker>& broker, const std::string& ip, int port,
               double timeOut);
    ~CameraLink() override;

    VideoClient& client() { return *fClient; }
    FrameFeed& feed() { return fFeed; }
    PictureWorker& worker() { return fWorker; }

    /** Watches a camera instead of the previous one. Does nothing if the link is closed. */
    void watch(const std::string& camera);
    void stopWatching();
    bool isWatching() const { return fStream != nullptr; }
    /** Requests a key frame of the watched camera, if there is one; see KVFrameStream. */
    void requestKeyFrame();

  protected:
    void stop() override;
    void restart() override;

  private:
    std::unique_ptr<VideoClient> fClient;  // one for each connection
    PictureWorker fWorker;
    FrameFeed fFeed;
    std::shared_ptr<KVFrameStream> fStream;
};

}  // namespace cameraviewer

#endif
