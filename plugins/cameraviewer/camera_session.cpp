#include "camera_session.h"

#include "camera_link.h"

#include <base/time.h>
#include <obvista/viewer/plain_text.h>
#include <picture/pixel_format.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace cameraviewer {

namespace {

using Clock = FeedState::Clock;
using Seconds = Situation::Seconds;

/**
 * Periods between requests for the cameras: the cameras of a starting robot are found soon, and so
 * are changes by others.
 */
constexpr Seconds a_askAgainWithoutCameras{1.5};
constexpr Seconds a_askAgain{5};
/** Delay between the end of a stream and the next attempt. */
constexpr Seconds a_watchAgain{1};
/** Time in which a robot that has returned gets its modules and cameras, after it listens. */
constexpr std::chrono::seconds a_startTime{5};
constexpr int a_maxCameraNameShown = 60;

/** Returns a camera of which only the name is known. */
picture::CameraInfo unlistedCamera(const std::string& name) {
    picture::CameraInfo camera;
    camera.fName = name;
    return camera;
}

bool isAsSet(const KVFrame& frame, const picture::CameraSettings& settings) {
    return frame.fWidth == static_cast<std::uint32_t>(settings.fWidth) &&
           frame.fHeight == static_cast<std::uint32_t>(settings.fHeight) &&
           frame.fFormat == picture::formatNamed(settings.fFormat);
}

}  // namespace

CameraSession::CameraSession(std::shared_ptr<CameraLink> link, QObject* parent)
    : QObject(parent), fLink(std::move(link)), fMemory(fLink->robotName()), fAsked(Clock::now()) {
}

const picture::CameraInfo* CameraSession::camera() const {
    const auto found =
        std::find_if(fCameras.begin(), fCameras.end(),
                     [&](const picture::CameraInfo& info) { return info.fName == fChosen; });
    return found != fCameras.end() ? &*found : nullptr;
}

picture::CameraSettings CameraSession::settings() const {
    const auto wish = fWishes.find(fChosen);
    if (wish != fWishes.end()) {
        return wish->second;
    }
    const picture::CameraInfo* chosen = camera();
    return chosen != nullptr ? chosen->fSettings : picture::CameraSettings();
}

void CameraSession::chooseCamera(const std::string& name) {
    if (name != fChosen) {
        fMemory->setCamera(name);
        if (!fCanListCameras) {
            fCameras = {unlistedCamera(name)};
        }
        xChoose(name);
        Q_EMIT camerasChanged();
    }
}

void CameraSession::changeSettings(const picture::CameraSettings& settings) {
    if (!fChosen.empty() && xIsLive()) {
        fRecalled.insert(fChosen);
        fAutomaticWish.reset();
        xAskFor(settings);
        Q_EMIT camerasChanged();
    }
}

void CameraSession::setAutomatic(bool isAutomatic) {
    if (isAutomatic == fIsAutomatic || fChosen.empty()) {
        return;
    }
    fIsAutomatic = isAutomatic;
    fBandwidth.reset();
    fAutomaticWish.reset();
    fMemory->setAutomatic(fChosen, isAutomatic);
    if (!isAutomatic) {
        fMemory->setSettings(fChosen, settings());
    }
    Q_EMIT camerasChanged();
}

void CameraSession::setSeen(bool isSeen) {
    fIsSeen = isSeen;
    xUpdateWatching();
}

void CameraSession::setPaused(bool isPaused) {
    if (fIsPaused && !isPaused) {
        fLink->worker().forget();  // decoded when the pause began
    }
    fIsPaused = isPaused;
    xUpdateWatching();
    Q_EMIT situationChanged();
}

void CameraSession::setRecording(bool isRecording) {
    fIsRecording = isRecording;
    xUpdateWatching();
    if (isRecording) {
        fLink->requestKeyFrame();  // with which the recording begins
    }
}

void CameraSession::requestPicture() {
    fLink->worker().request();
}

void CameraSession::setReplay(const obvista::ReplayState& replay) {
    if (replay.fIsPlaying != fReplay.fIsPlaying || replay.fSpeed != fReplay.fSpeed) {
        fReplayResumed = Clock::now();
    }
    fReplay = replay;
    Q_EMIT situationChanged();
}

void CameraSession::takeNews() {
    xTakeAnswers(fLink->client().take());
    xTakePicture();
    if (fLink->worker().takeKeyFrameRequest()) {
        fLink->requestKeyFrame();
    }
    Q_EMIT situationChanged();
}

void CameraSession::end(obvista::LinkState state) {
    fLinkState = state;
    fLink->stopWatching();
    Q_EMIT situationChanged();
}

void CameraSession::interrupt() {
    fWatched.clear();
    fWishes.clear();
    end(obvista::LinkState::Interrupted);
}

void CameraSession::replaceRobot() {
    fMemory.emplace(fLink->robotName());
    fCameras.clear();
    fHasCameras = false;
    fFailure.reset();
    xChoose({});
    Q_EMIT camerasChanged();
}

void CameraSession::resume() {
    fLinkState = obvista::LinkState::Connected;
    fEndBefore.reset();
    fRecalled.clear();
    fAsked = Clock::now();
    fStarting = fAsked + a_startTime;
    fLink->client().listCameras();
    xUpdateWatching();
    Q_EMIT situationChanged();
}

void CameraSession::tick() {
    if (!xIsLive()) {
        return;
    }
    const Clock::time_point now = Clock::now();
    if (now - fAsked >= (fCameras.empty() ? a_askAgainWithoutCameras : a_askAgain) &&
        (fIsSeen || fCameras.empty())) {
        fAsked = now;
        fLink->client().listCameras();
    }
    const FeedState state = fLink->feed().state();
    if (state.fEnd && fLink->isWatching() && now - state.fEnded >= a_watchAgain) {
        xWatchAgain(*state.fEnd);
    }
    Q_EMIT situationChanged();
}

Situation CameraSession::situation() const {
    const Clock::time_point now = Clock::now();
    Situation situation;
    situation.fLink = fLinkState;
    situation.fHasCameras = fHasCameras;
    situation.fCameraCount = static_cast<int>(fCameras.size());
    situation.fFailure = fFailure;
    situation.fIsPaused = fIsPaused;
    const picture::CameraInfo* chosen = camera();
    if (chosen == nullptr) {
        return situation;
    }
    const FeedState state = fLink->feed().state();
    situation.fCamera = obvista::plainText(fChosen, a_maxCameraNameShown);
    situation.fRate = chosen->fSettings.fRate;
    situation.fWatched = now - state.fStarted;
    if (state.fArrived) {
        situation.fSinceFrame = now - std::max(*state.fArrived, fReplayResumed);
    }
    if (fReplay.isReplay()) {
        situation.fIsReplayPaused = !fReplay.fIsPlaying;
        situation.fReplaySpeed = fReplay.fSpeed;
    }
    situation.fFault = state.fFault != picture::FrameFault::None ? state.fFault : fDecodingFault;
    situation.fEnd = state.fEnd || state.fArrived ? state.fEnd : fEndBefore;
    return situation;
}

void CameraSession::xTakeAnswers(const VideoAnswers& answers) {
    if (answers.fCameras) {
        fFailure.reset();
        fHasCameras = true;
        fCanListCameras = true;
        xTakeCameras(*answers.fCameras);
    }
    if (answers.fFailure) {
        xTakeFailure(*answers.fFailure);
    }
    for (const VideoAnswers::Change& change : answers.fChanges) {
        xTakeChange(change);
    }
}

void CameraSession::xTakeCameras(const std::vector<picture::CameraInfo>& cameras) {
    if (xIsStarting(cameras)) {
        return;
    }
    if (cameras == fCameras && !fChosen.empty()) {
        xRecallSettings();  // not yet for a robot that has returned
        return;
    }
    fCameras = cameras;
    if (camera() == nullptr) {
        xChoose(xDefaultCamera());
    } else {
        xRecallSettings();
    }
    Q_EMIT camerasChanged();
}

/** Returns true for the answer of a robot that has returned and lacks the chosen camera so far. */
bool CameraSession::xIsStarting(const std::vector<picture::CameraInfo>& cameras) const {
    return !fChosen.empty() && Clock::now() < fStarting &&
           std::none_of(cameras.begin(), cameras.end(), [this](const picture::CameraInfo& camera) {
               return camera.fName == fChosen;
           });
}

/** A failure other than these says nothing about the cameras. */
void CameraSession::xTakeFailure(const KVError& failure) {
    fFailure = failure;
    if (failure.cause() == KVError::Cause::NoSuchModule) {
        xTakeCameras({});
    } else if (failure.cause() == KVError::Cause::NoSuchMethod && fCanListCameras) {
        fCanListCameras = false;
        const std::string remembered = fMemory->camera();
        xTakeCameras(remembered.empty() ? std::vector<picture::CameraInfo>()
                                        : std::vector{unlistedCamera(remembered)});
    }
}

void CameraSession::xTakeChange(const VideoAnswers::Change& change) {
    const auto wish = fWishes.find(change.fCamera);
    if (wish != fWishes.end() && wish->second == change.fWish) {
        fWishes.erase(wish);
    }
    const bool isAutomatic = change.fCamera == fChosen && fAutomaticWish == change.fWish;
    if (change.fSettings) {
        if (!isAutomatic) {
            fMemory->setSettings(change.fCamera, *change.fSettings);
        }
        for (picture::CameraInfo& info : fCameras) {
            if (info.fName == change.fCamera) {
                info.fSettings = *change.fSettings;
            }
        }
        Q_EMIT camerasChanged();
        if (!isAutomatic) {
            Q_EMIT settingsTaken();
        }
    } else if (!isAutomatic || change.fRefusal->cause() == KVError::Cause::RaisedByModule) {
        fIsAutomatic = fIsAutomatic && !isAutomatic;
        fLink->client().listCameras();
        Q_EMIT camerasChanged();
        Q_EMIT settingsRefused(obvista::plainText(change.fRefusal->toString()));
    }
}

void CameraSession::xAskFor(const picture::CameraSettings& settings) {
    fWishes[fChosen] = settings;
    fLink->client().changeSettings(fChosen, settings);
}

void CameraSession::xTakePicture() {
    if (!fIsSeen || fIsPaused) {
        return;  // taken when the widget is visible
    }
    const std::optional<DecodedPicture> decoded = fLink->worker().take();
    if (!decoded) {
        return;
    }
    fDecodingFault = decoded->fPicture.fFault;
    if (fDecodingFault != picture::FrameFault::None) {
        fLink->feed().addFault(fDecodingFault);
        requestPicture();
        return;
    }
    const picture::CameraInfo* chosen = camera();
    if (chosen != nullptr && fCanListCameras &&
        !isAsSet(decoded->fPicture.fFrame, chosen->fSettings) &&
        Clock::now() - fAsked >= a_watchAgain) {
        // Changed by another client.
        fAsked = Clock::now();
        fLink->client().listCameras();
    }
    xControlBandwidth(decoded->fPicture.fFrame);
    Q_EMIT pictureReady(*decoded);
}

void CameraSession::xControlBandwidth(const KVFrame& frame) {
    const picture::CameraInfo* chosen = camera();
    if (!fIsAutomatic || chosen == nullptr || chosen->fSettings.fBitRate == 0 ||
        frame.fFormat != KVPixelFormat::H264 || fWishes.count(fChosen) != 0) {
        return;
    }
    const double age =
        static_cast<double>(base::microsecondsNow() - frame.fTime) / base::a_microsecondsPerSecond;
    const std::optional<int> bitRate = fBandwidth.frameShown(
        Clock::now(), age, fLink->feed().counts().fBytes, chosen->fSettings.fBitRate);
    if (bitRate) {
        fAutomaticWish = chosen->fSettings;
        fAutomaticWish->fBitRate = *bitRate;
        xAskFor(*fAutomaticWish);
    }
}

void CameraSession::xChoose(const std::string& name) {
    fChosen = name;
    fDecodingFault = picture::FrameFault::None;
    fEndBefore.reset();
    fIsAutomatic = !name.empty() && fMemory->isAutomatic(name);
    fBandwidth.reset();
    fAutomaticWish.reset();
    xRecallSettings();
    xUpdateWatching();
    Q_EMIT cameraChosen();
}

std::string CameraSession::xDefaultCamera() const {
    std::string remembered = fMemory->camera();
    const bool isThere =
        std::any_of(fCameras.begin(), fCameras.end(),
                    [&](const picture::CameraInfo& info) { return info.fName == remembered; });
    if (isThere) {
        return remembered;
    }
    return fCameras.empty() ? std::string() : fCameras.front().fName;
}

/** Restores a camera's saved settings, once and unless there are none. */
void CameraSession::xRecallSettings() {
    const picture::CameraInfo* chosen = camera();
    if (chosen == nullptr || chosen->fModes.empty() || !fRecalled.insert(fChosen).second) {
        return;
    }
    std::optional<picture::CameraSettings> remembered = fMemory->settings(fChosen);
    if (remembered && (chosen->fSettings.fBitRate == 0 || remembered->fBitRate == 0)) {
        remembered->fBitRate = chosen->fSettings.fBitRate;
    }
    if (remembered && *remembered != chosen->fSettings &&
        picture::fittedSettings(*chosen, *remembered) == *remembered) {
        xAskFor(*remembered);
    }
}

/** The robot may have removed the camera, so its cameras are requested again. */
void CameraSession::xWatchAgain(const KVError& end) {
    fEndBefore = end;
    fLink->client().listCameras();
    fLink->stopWatching();
    fWatched.clear();
    xUpdateWatching();
}

void CameraSession::xUpdateWatching() {
    const bool isWanted =
        xIsLive() && !fChosen.empty() && (fIsRecording || (fIsSeen && !fIsPaused));
    if (!isWanted && fLink->isWatching()) {
        fLink->stopWatching();
        fWatched.clear();
    }
    if (isWanted && fWatched != fChosen) {
        fBandwidth.reset();
        fLink->watch(fChosen);
        fWatched = fChosen;
    }
}

}  // namespace cameraviewer
