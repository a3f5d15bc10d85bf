#ifndef OBVISTA_CAMERAVIEWER_VIDEO_CLIENT_H
#define OBVISTA_CAMERAVIEWER_VIDEO_CLIENT_H

#include "camera_info.h"

#include <robaxi/kv_error.h>

#include <boost/shared_ptr.hpp>

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

class KVConnection;
class KVProxy;

namespace cameraviewer {

class Notice;

/** The module of a robot that has cameras. */
constexpr char a_videoModule[] = "KVVideo";

/** What a robot has answered. */
struct VideoAnswers {
    /** What became of a wish for other settings. */
    struct Change {
        std::string fCamera;
        CameraSettings fWish;
        std::optional<CameraSettings> fSettings;  ///< that hold now; nothing when it was refused
        std::string fRefusal;                     ///< the robot's reason
    };

    std::optional<std::vector<CameraInfo>> fCameras;
    std::optional<KVError> fFailure;  ///< why the cameras could not be listed
    std::vector<Change> fChanges;
};

/**
 * Calls a robot's "KVVideo" on a thread of its own, so that nobody waits for the network.
 *
 * All operations may be called from any thread.
 */
class VideoClient {
  public:
    /** @param notice is given when there are answers to take, and outlives the client */
    VideoClient(const boost::shared_ptr<KVConnection>& connection, Notice& notice);
    /** Stops. */
    ~VideoClient();
    VideoClient(const VideoClient&) = delete;
    VideoClient& operator=(const VideoClient&) = delete;

    /** Asks for the cameras, unless that is being asked already. */
    void listCameras();
    /** Asks for other settings. A wish that was not sent yet gives way to a newer one. */
    void changeSettings(const std::string& camera, const CameraSettings& settings);

    VideoAnswers take();

    /** Ends the calls in flight; returns when no thread calls any more. Nothing is asked after
     *  it. */
    void stop();

  private:
    void xRun();
    void xListCameras();
    void xChangeSettings(const std::string& camera, const CameraSettings& settings);
    void xAnswer(VideoAnswers answers);

    std::unique_ptr<KVProxy> fVideo;  // until stop() has returned
    Notice& fNotice;

    std::mutex fMutex;  // guards all below
    std::condition_variable fWork;
    bool fIsListWanted = false;
    std::map<std::string, CameraSettings> fWishes;
    VideoAnswers fAnswers;
    bool fIsStopped = false;

    std::thread fThread;
};

}  // namespace cameraviewer

#endif
