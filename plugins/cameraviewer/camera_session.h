#ifndef OBVISTA_CAMERAVIEWER_CAMERA_SESSION_H
#define OBVISTA_CAMERAVIEWER_CAMERA_SESSION_H

#include "camera_info.h"
#include "camera_memory.h"
#include "frame_feed.h"
#include "picture_worker.h"
#include "situation.h"
#include "video_client.h"

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
 * What one viewer does with the cameras of its robot: which one is watched and when, how it is set,
 * and what is the matter with it.
 *
 * A camera is watched while somebody can see it or it is recorded, and watched anew when the robot
 * ended it. Used on the GUI thread.
 */
class CameraSession : public QObject {
    Q_OBJECT

  public:
    CameraSession(std::shared_ptr<CameraLink> link, QObject* parent);
    ~CameraSession() override;

    const std::vector<CameraInfo>& cameras() const { return fCameras; }
    /** The chosen camera as the robot last described it; null when there is none. */
    const CameraInfo* camera() const;

    /** How the chosen camera is set, or is to be as soon as the robot has answered. */
    CameraSettings settings() const;

    void chooseCamera(const std::string& name);
    /** Asks the robot to set the chosen camera otherwise. */
    void changeSettings(const CameraSettings& settings);

    void setSeen(bool isSeen);
    void setPaused(bool isPaused);
    bool isPaused() const { return fIsPaused; }
    void setRecording(bool isRecording);

    /** There is room for another picture. */
    void requestPicture();

    /** To be called some times a second: asks the robot again, and watches again. */
    void tick();

    Situation situation() const;

  Q_SIGNALS:
    /** The cameras, the choice, or the settings have changed. */
    void camerasChanged();
    /** Another camera is watched from now on. */
    void cameraChosen();
    /** The robot has taken the settings that were asked for. */
    void settingsTaken();
    /** It has not. @param reason its own words */
    void settingsRefused(const QString& reason);
    void pictureReady(const cameraviewer::DecodedPicture& decoded);
    void situationChanged();
    /** The last that is emitted; the receiver may delete the session. */
    void lost();

  private:
    void xOnNotice();
    void xTakeAnswers(const VideoAnswers& answers);
    void xTakeCameras(const std::vector<CameraInfo>& cameras);
    void xTakeChange(const VideoAnswers::Change& change);
    void xAskFor(const CameraSettings& settings);
    void xTakePicture();
    bool xNoteEnd();
    void xChoose(const std::string& name);
    std::string xDefaultCamera() const;
    void xRecallSettings();
    void xWatchAgain(const KVError& end);
    void xUpdateWatching();
    bool xIsLive() const { return !fIsClosed && !fIsLost; }

    std::shared_ptr<CameraLink> fLink;
    CameraMemory fMemory;
    std::vector<CameraInfo> fCameras;
    bool fHasCameras = false;
    std::optional<KVError> fFailure;
    std::string fChosen;
    std::string fWatched;
    std::map<std::string, CameraSettings> fWishes;  // without an answer yet, for each camera
    std::set<std::string> fRecalled;    // cameras that were given their remembered settings
    std::optional<KVError> fEndBefore;  // of the stream before the one that is watched
    FrameFault fDecodingFault = FrameFault::None;
    FeedState::Clock::time_point fAsked;
    bool fIsSeen = false;
    bool fIsPaused = false;
    bool fIsRecording = false;
    bool fIsLost = false;
    bool fIsClosed = false;
};

}  // namespace cameraviewer

#endif
