#include "recording/robot_recorder.h"

#include "process/failure.h"
#include "values/key_pattern.h"

#include <algorithm>
#include <memory>
#include <robot_recording/robot_origin.h>
#include <utility>

namespace robaxi_tool {

namespace {

using robot_recording::CameraTopic;
using robot_recording::EventTopic;
using robot_recording::logTimeNow;
using robot_recording::RecordingSink;

constexpr const char* a_videoModule = "KVVideo";
/** From the end of a connection, of values or of a stream to the next attempt. */
constexpr std::chrono::seconds a_attemptDistance(1);
constexpr int a_attemptTimeout = 1;  ///< seconds

bool isDue(const std::optional<Clock::time_point>& time) {
    return time && Clock::now() >= *time;
}

std::vector<picture::CameraInfo> chosenCameras(const RobotLink& link,
                                               const RobotSelection& selection) {
    if (selection.fCameras.empty() && !selection.fAllCameras) {
        return {};
    }
    Cameras cameras = camerasOf(link.module(a_videoModule)->callValue("getCameras", {}));
    if (selection.fAllCameras) {
        return cameras;
    }
    std::vector<picture::CameraInfo> chosen;
    for (const std::string& name : selection.fCameras) {
        chosen.push_back(findCamera(cameras, name));
    }
    return chosen;
}

}  // namespace

// Cameras

CameraRecorder::CameraRecorder(RecordingSink& sink, EventTopic& events, const std::string& robot,
                               const picture::CameraInfo& camera,
                               std::function<void(const KVError&)> ended)
    : fEvents(events),
      fName(camera.fName),
      fOnEnd(std::move(ended)),
      fTopic(sink, robot, camera.fName, camera.fDescription) {
}

void CameraRecorder::addTo(RobotProgress& progress) const {
    const std::lock_guard lock(fMutex);
    progress.fFrames += fFrames;
    progress.fMissedFrames += fMissed;
}

void CameraRecorder::watch(const std::shared_ptr<KVConnection>& connection) {
    fStream.reset();
    {
        const std::lock_guard lock(fMutex);
        fNextAttempt.reset();
    }
    fStream = KVFrameStream::start(
        connection, a_videoModule, fName,
        {[this](const KVFrame& frame, std::uint64_t /*passedOver*/) { xTake(frame); },
         [this](const KVError& error) { xEnd(error); }});
}

bool CameraRecorder::isDue() const {
    const std::lock_guard lock(fMutex);
    return robaxi_tool::isDue(fNextAttempt);
}

void CameraRecorder::xTake(const KVFrame& frame) {
    const std::uint64_t logTime = logTimeNow();
    const std::lock_guard lock(fMutex);
    if (std::exchange(fIsGap, false)) {
        fEvents.write("camera continues", fName);
    }
    // A restarted robot counts from 1 again.
    if (fLastNumber != 0 && frame.fNumber > fLastNumber) {
        fMissed += frame.fNumber - fLastNumber - 1;
    }
    fLastNumber = frame.fNumber;
    if (!CameraTopic::canWrite(frame)) {
        ++fMissed;
        return;
    }
    fEvents.report();
    if (fTopic.write(frame, logTime)) {
        ++fFrames;
    } else {
        fEvents.countDrops();
        fIsKeyFrameNeeded = frame.fFormat == KVPixelFormat::H264;
    }
}

void CameraRecorder::requestKeyFrame() {
    if (fStream) {
        fStream->requestKeyFrame();
    }
}

void CameraRecorder::requestKeyFrameIfNeeded() {
    bool isNeeded = false;
    {
        const std::lock_guard lock(fMutex);
        isNeeded = std::exchange(fIsKeyFrameNeeded, false);
    }
    if (isNeeded) {
        requestKeyFrame();
    }
}

void CameraRecorder::xEnd(const KVError& error) {
    if (error.cause() != KVError::Cause::ConnectionLost) {
        const std::lock_guard lock(fMutex);
        // Each attempt to watch it again may end in the same way.
        if (!std::exchange(fIsGap, true)) {
            fEvents.write("camera ended", fName + ": " + error.toString());
        }
        fNextAttempt = Clock::now() + a_attemptDistance;
    }
    fOnEnd(error);
}

// Robots

RobotRecorder::RobotRecorder(std::string host, RobotSelection selection, Bell& bell,
                             Interruption& interruption)
    : fHost(std::move(host)),
      fSelection(std::move(selection)),
      fBell(bell),
      fLink(std::make_unique<RobotLink>(fHost, fSelection.fTimeout, interruption)),
      fCameraInfos(chosenCameras(*fLink, fSelection)),
      fName(fLink->connection()->getPeerName()) {
    for (const std::string& pattern : fSelection.fPatterns) {
        fPatterns.emplace(pattern, false);
    }
}

RobotRecorder::~RobotRecorder() {
    stop();
}

void RobotRecorder::start(RecordingSink& sink, const std::string& name) {
    fSink = &sink;
    fName = name;
    fEvents = std::make_unique<EventTopic>(sink, fName);
    fTopics = std::make_unique<robot_recording::ValueTopics>(sink, fName);
    const auto onCameraEnd = [this](const KVError& error) {
        if (error.cause() == KVError::Cause::ConnectionLost) {
            xLose(error);
        }
        fBell.ring();
    };
    for (const picture::CameraInfo& camera : fCameraInfos) {
        fCameras.push_back(
            std::make_unique<CameraRecorder>(sink, *fEvents, fName, camera, onCameraEnd));
    }
    xDescribe();
    fEvents->write("begin", "");
    xSubscribe();
}

/** Writes what is known about the robot at the beginning of each file. The icon follows. */
void RobotRecorder::xDescribe() {
    const std::string address = fLink->connection()->getAddress();
    fSink->addMetadata(
        robot_recording::robotMetadata({fName, fHost, address, fLink->endpoint().fPort}));
    fIcon = std::make_unique<download::RobotIconDownload>(address, robot_recording::a_iconTimeout,
                                                          [this] { fBell.ring(); });
}

void RobotRecorder::xSubscribe() {
    fLink->connection()->setStateHandler([this](KVConnection::State state) {
        if (state == KVConnection::State::Silent) {
            fEvents->write("silent", "The robot does not answer.");
        } else if (state == KVConnection::State::Connected) {
            fEvents->write("answers again", "");
        }
    });
    xSubscribeToValues();
    for (const auto& camera : fCameras) {
        camera->watch(fLink->connection());
    }
}

void RobotRecorder::xSubscribeToValues() {
    fSubscription.reset();
    {
        const std::lock_guard lock(fMutex);
        fKeys.clear();
        fNextAttempt.reset();
    }
    const auto selection = fSelection.fPatterns.empty() ? KVSubscription::Selection::AllKeys
                                                        : KVSubscription::Selection::ChosenKeys;
    fSubscription =
        KVSubscription::start(fLink->connection(), fSelection.fModule, selection, fSelection.fRate,
                              {[this](const auto& keys) { xAddKeys(keys); },
                               [this](const auto& ids) { xRemoveKeys(ids); },
                               [this](const auto& changes) { xWrite(changes); },
                               [this](const KVError& error) { xEnd(error); },
                               [this](std::uint64_t count) { xPassOver(count); }});
}

bool RobotRecorder::needsAttention() const {
    const auto isCameraDue = [](const auto& camera) { return camera->isDue(); };
    if ((fIcon && fIcon->isDone()) || (fReconnection && fReconnection->isDone()) ||
        std::any_of(fCameras.begin(), fCameras.end(), isCameraDue)) {
        return true;
    }
    const std::lock_guard lock(fMutex);
    return fSelectionChanged || fRefusal || isDue(fNextAttempt);
}

void RobotRecorder::attend() {
    xTakeIcon();
    bool isAttemptDue = false;
    bool isLost = false;
    {
        const std::lock_guard lock(fMutex);
        if (fRefusal) {
            std::rethrow_exception(std::exchange(fRefusal, nullptr));
        }
        isAttemptDue = isDue(fNextAttempt);
        isLost = fIsLost;
    }
    if (isLost) {
        if (isAttemptDue || (fReconnection && fReconnection->isDone())) {
            xReconnect();
        }
        return;
    }
    if (isAttemptDue) {
        xSubscribeToValues();
    }
    for (const auto& camera : fCameras) {
        if (camera->isDue()) {
            camera->watch(fLink->connection());
        }
        camera->requestKeyFrameIfNeeded();
    }
    xSelectKeys();
}

void RobotRecorder::requestKeyFrames() {
    for (const auto& camera : fCameras) {
        camera->requestKeyFrame();
    }
}

void RobotRecorder::xTakeIcon() {
    std::optional<download::RobotIcon> icon = fIcon ? fIcon->take() : std::nullopt;
    if (icon && icon->fFault.empty()) {
        fSink->addAttachment(robot_recording::robotIcon(fName, std::move(icon->fBytes)));
    }
}

/** Subscribes to keys that were added. */
void RobotRecorder::xSelectKeys() {
    std::vector<std::uint32_t> ids;
    {
        const std::lock_guard lock(fMutex);
        if (!std::exchange(fSelectionChanged, false) || fPatterns.empty()) {
            return;
        }
        for (const auto& [id, key] : fKeys) {
            ids.push_back(id);
        }
    }
    fSubscription->setKeys(ids);
}

/** Begins an attempt to connect again, or takes the result of one. */
void RobotRecorder::xReconnect() {
    if (!fReconnection) {
        {
            const std::lock_guard lock(fMutex);
            fNextAttempt.reset();
        }
        fReconnection =
            std::make_unique<Reconnection>(fHost, a_attemptTimeout, [this] { fBell.ring(); });
        return;
    }
    std::unique_ptr<RobotLink> link = fReconnection->take();
    fReconnection.reset();
    if (!link) {
        const std::lock_guard lock(fMutex);
        fNextAttempt = Clock::now() + a_attemptDistance;
        return;
    }
    fSubscription.reset();
    for (const auto& camera : fCameras) {
        camera->stop();
    }
    fLink->connection()->setStateHandler(nullptr);
    fLink = std::move(link);
    {
        const std::lock_guard lock(fMutex);
        fIsLost = false;
    }
    fEvents->write("connected", "");
    xSubscribe();
}

std::vector<std::string> RobotRecorder::unmatchedPatterns() const {
    const std::lock_guard lock(fMutex);
    std::vector<std::string> patterns;
    for (const auto& [pattern, hasMatched] : fPatterns) {
        if (!hasMatched) {
            patterns.push_back(pattern);
        }
    }
    return patterns;
}

void RobotRecorder::stop() {
    fReconnection.reset();
    fIcon.reset();
    fLink->connection()->setStateHandler(nullptr);
    fSubscription.reset();
    for (const auto& camera : fCameras) {
        camera->stop();
    }
}

void RobotRecorder::writeEnd() {
    fEvents->write("end", "");
}

RobotProgress RobotRecorder::progress() const {
    RobotProgress progress;
    for (const auto& camera : fCameras) {
        camera->addTo(progress);
    }
    const std::lock_guard lock(fMutex);
    progress.fValues = fValues;
    progress.fPassedOver = fPassedOver;
    progress.fIsConnected = !fIsLost && !fAreValuesGone;
    return progress;
}

bool RobotRecorder::xIsSelected(const std::string& key) {
    bool isSelected = fPatterns.empty();
    for (auto& [pattern, hasMatched] : fPatterns) {
        if (matchesKey(pattern, key)) {
            hasMatched = isSelected = true;
        }
    }
    return isSelected;
}

void RobotRecorder::xAddKeys(const std::vector<KVKeyInfo>& keys) {
    bool isEndOfGap = false;
    {
        const std::lock_guard lock(fMutex);
        fHasHadKeys = true;
        isEndOfGap = std::exchange(fAreValuesGone, false);
        for (const KVKeyInfo& info : keys) {
            if (xIsSelected(info.fName)) {
                fKeys[info.fId] = info;
                fSelectionChanged = true;
            }
        }
    }
    if (isEndOfGap) {
        fEvents->write("values continue", "");
    }
    fBell.ring();
}

void RobotRecorder::xRemoveKeys(const std::vector<std::uint32_t>& ids) {
    std::vector<std::string> names;
    {
        const std::lock_guard lock(fMutex);
        for (const std::uint32_t id : ids) {
            const auto key = fKeys.find(id);
            if (key != fKeys.end()) {
                names.push_back(key->second.fName);
                fKeys.erase(key);
            }
        }
    }
    for (const std::string& name : names) {
        fEvents->write("key removed", name);
    }
}

void RobotRecorder::xWrite(const std::vector<KVChange>& changes) {
    const std::uint64_t logTime = logTimeNow();
    fEvents->report();
    const std::lock_guard lock(fMutex);
    for (const KVChange& change : changes) {
        const auto key = fKeys.find(change.fId);
        if (key == fKeys.end()) {
            continue;
        }
        if (fTopics->write(key->second, change.fValue, change.fTime, logTime)) {
            ++fValues;
        } else {
            fEvents->countDrops();
        }
    }
}

void RobotRecorder::xPassOver(std::uint64_t count) {
    fEvents->countPassedOver(count);
    const std::lock_guard lock(fMutex);
    fPassedOver += count;
}

/** Returns true for robots without values, if there is something else to record. */
bool RobotRecorder::xIsExpected(const KVError& error) const {
    return error.cause() == KVError::Cause::NoSuchModule && !fCameras.empty() && fPatterns.empty();
}

void RobotRecorder::xEnd(const KVError& error) {
    if (error.cause() == KVError::Cause::ConnectionLost) {
        xLose(error);
    } else {
        const std::lock_guard lock(fMutex);
        // Each attempt to subscribe again may end in the same way.
        if (!fAreValuesGone) {
            fEvents->write("values ended", error.toString());
        }
        if (fHasHadKeys) {
            fAreValuesGone = true;
            fNextAttempt = Clock::now() + a_attemptDistance;
        } else if (!xIsExpected(error)) {
            fRefusal = std::make_exception_ptr(error);
        }
    }
    fBell.ring();
}

/** The end of the values and of each stream report the loss of one connection. */
void RobotRecorder::xLose(const KVError& error) {
    const std::lock_guard lock(fMutex);
    if (!std::exchange(fIsLost, true)) {
        fEvents->write("lost", error.toString());
        fNextAttempt = Clock::now();
    }
}

}  // namespace robaxi_tool
