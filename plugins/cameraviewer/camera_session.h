#ifndef OBVISTA_CAMERAVIEWER_CAMERA_SESSION_H
#define OBVISTA_CAMERAVIEWER_CAMERA_SESSION_H

#include "bandwidth_control.h"
#include "camera_memory.h"
#include "frame_feed.h"
#include "picture_worker.h"
#include "situation.h"
#include "video_client.h"

#include <obvista/viewer/link_state.h>
#include <obvista/viewer/replay_state.h>
#include <picture/camera_info.h>

#include <QObject>

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace cameraviewer {

class CameraLink;

/**
 * A viewer's session with the cameras of its robot: the watched camera, its settings and its state.
 *
 * A camera is watched while the widget is visible or a recording runs, and watched again after the
 * robot has ended the stream. Used on the GUI thread.
 */
class CameraSession : public QObject {
    Q_OBJECT

  public:
    CameraSession(std::shared_ptr<CameraLink> link, QObject* parent);

    const std::vector<picture::CameraInfo>& cameras() const { return fCameras; }
    /** Returns the selected camera as last described by the robot; null if there is none. */
    const picture::CameraInfo* camera() const;

    /**
     * Returns the settings of the selected camera, or the requested ones until the robot has
     * answered.
     */
    picture::CameraSettings settings() const;

    /** Returns false if the robot has no method for it; its cameras are then chosen by name. */
    bool canListCameras() const { return fCanListCameras; }

    void chooseCamera(const std::string& name);
    /** Requests other settings for the selected camera. */
    void changeSettings(const picture::CameraSettings& settings);

    /** Returns true if the bandwidth of the selected camera's H.264 is adapted to the network. */
    bool isAutomatic() const { return fIsAutomatic; }
    void setAutomatic(bool isAutomatic);

    void setSeen(bool isSeen);
    void setPaused(bool isPaused);
    bool isPaused() const { return fIsPaused; }
    void setRecording(bool isRecording);

    /** Requests the next picture, when there is room for it. */
    void requestPicture();

    /** Takes the state of a robot that is a replay. */
    void setReplay(const obvista::ReplayState& replay);
    /** Takes what has arrived from the robot. */
    void takeNews();
    /** The link has ended. */
    void end(obvista::LinkState state);
    /** The robot is lost, and may return. */
    void interrupt();
    /** Another robot is there instead, before resume(): with its own cameras and saved choices. */
    void replaceRobot();
    /** The robot has returned: its cameras are requested again, with the user's settings. */
    void resume();

    /** Requests the cameras again and retries watching. Call it several times a second. */
    void tick();

    Situation situation() const;

  Q_SIGNALS:
    /** Emitted when the cameras, the selection, the settings or canListCameras() have changed. */
    void camerasChanged();
    /** Emitted when another camera is watched. */
    void cameraChosen();
    /** Emitted when the robot has applied the requested settings. */
    void settingsTaken();
    /** Emitted when the robot has refused the requested settings. @param reason the robot's text */
    void settingsRefused(const QString& reason);
    void pictureReady(const cameraviewer::DecodedPicture& decoded);
    void situationChanged();

  private:
    void xTakeAnswers(const VideoAnswers& answers);
    void xTakeCameras(const std::vector<picture::CameraInfo>& cameras);
    bool xIsStarting(const std::vector<picture::CameraInfo>& cameras) const;
    void xTakeFailure(const KVError& failure);
    void xTakeChange(const VideoAnswers::Change& change);
    void xAskFor(const picture::CameraSettings& settings);
    void xTakePicture();
    void xControlBandwidth(const KVFrame& frame);
    void xChoose(const std::string& name);
    std::string xDefaultCamera() const;
    void xRecallSettings();
    void xWatchAgain(const KVError& end);
    void xUpdateWatching();
    bool xIsLive() const { return fLinkState == obvista::LinkState::Connected; }

    std::shared_ptr<CameraLink> fLink;
    std::optional<CameraMemory> fMemory;  // of the robot; never empty
    obvista::LinkState fLinkState = obvista::LinkState::Connected;
    std::vector<picture::CameraInfo> fCameras;
    bool fHasCameras = false;
    bool fCanListCameras = true;
    std::optional<KVError> fFailure;
    std::string fChosen;
    std::string fWatched;
    std::map<std::string, picture::CameraSettings> fWishes;  // unanswered requests, for each camera
    std::set<std::string> fRecalled;    // cameras whose saved settings have been restored
    std::optional<KVError> fEndBefore;  // of the previous stream
    picture::FrameFault fDecodingFault = picture::FrameFault::None;
    FeedState::Clock::time_point fAsked;
    FeedState::Clock::time_point fStarting;  // until when a robot that has returned starts
    bool fIsAutomatic = false;
    BandwidthControl fBandwidth;
    std::optional<picture::CameraSettings> fAutomaticWish;  // not chosen by the user
    obvista::ReplayState fReplay;
    FeedState::Clock::time_point fReplayResumed;  // since when frames are expected
    bool fIsSeen = false;
    bool fIsPaused = false;
    bool fIsRecording = false;
};

}  // namespace cameraviewer

#endif
