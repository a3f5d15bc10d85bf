#ifndef OBVISTA_CAMERAVIEWER_VIDEO_CLIENT_H
#define OBVISTA_CAMERAVIEWER_VIDEO_CLIENT_H

#include <picture/camera_info.h>
#include <robaxi/kv_error.h>

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

namespace obvista {
class Notice;
}

namespace cameraviewer {

/** The robot's module with cameras. */
constexpr char a_videoModule[] = "KVVideo";

/** Answers of a robot. */
struct VideoAnswers {
    /** Result of a request for other settings. */
    struct Change {
        std::string fCamera;
        picture::CameraSettings fWish;
        std::optional<picture::CameraSettings> fSettings;  ///< resulting ones; nothing if refused
        std::optional<KVError> fRefusal;
    };

    std::optional<std::vector<picture::CameraInfo>> fCameras;
    std::optional<KVError> fFailure;  ///< error of the request for the cameras
    std::vector<Change> fChanges;
};

/**
 * Calls a robot's "KVVideo" on a dedicated thread, so that the GUI thread does not wait for the
 * network.
 *
 * All operations may be called from any thread.
 */
class VideoClient {
  public:
    /** @param notice given when there are answers to take; must outlive the client */
    VideoClient(const std::shared_ptr<KVConnection>& connection, obvista::Notice& notice);
    /** Stops, as stop() does. */
    ~VideoClient();
    VideoClient(const VideoClient&) = delete;
    VideoClient& operator=(const VideoClient&) = delete;

    /** Requests the cameras, unless a request is already waiting. */
    void listCameras();
    /** Requests other settings. Replaces a request that was not sent yet. */
    void changeSettings(const std::string& camera, const picture::CameraSettings& settings);

    VideoAnswers take();

    /** Ends the calls in flight. Returns when no thread is calling; no calls follow. */
    void stop();

  private:
    void xRun();
    void xListCameras();
    void xChangeSettings(const std::string& camera, const picture::CameraSettings& settings);
    void xAnswer(VideoAnswers answers);

    std::unique_ptr<KVProxy> fVideo;  // valid until stop() has returned
    obvista::Notice& fNotice;

    std::mutex fMutex;  // guards all members below
    std::condition_variable fWork;
    bool fIsListWanted = false;
    std::map<std::string, picture::CameraSettings> fWishes;
    VideoAnswers fAnswers;
    bool fIsStopped = false;

    std::thread fThread;
};

}  // namespace cameraviewer

#endif
