#include "recording/robot_recorder.h"

#include "process/failure.h"
#include "values/key_pattern.h"
#include "values/value_text.h"

#include <base/safe_text.h>
#include <base/time.h>
#include <download/robot_icon.h>
#include <robot_recording/image_message.h>

#include <algorithm>
#include <utility>

namespace robaxi_tool {

namespace {

using robot_recording::groupMessage;
using robot_recording::groupSchema;
using robot_recording::imageMessage;
using robot_recording::imageSchema;
using robot_recording::valueMessage;
using robot_recording::valueSchema;

constexpr const char* a_videoModule = "KVVideo";
constexpr std::chrono::seconds a_attemptDistance(1);
constexpr int a_attemptTimeout = 1;  ///< seconds
constexpr std::chrono::seconds a_iconTimeout(2);
/** A key with a longer name is recorded in the group; a longer description is cut off. */
constexpr std::size_t a_longestText = 1000;

std::uint64_t nanoseconds(std::int64_t microseconds) {
    return static_cast<std::uint64_t>(microseconds) * base::a_nanosecondsPerMicrosecond;
}

std::uint64_t now() {
    return nanoseconds(base::microsecondsNow());
}

const MessageSchema& eventSchema() {
    static const MessageSchema schema{
        "robaxi.Event", "jsonschema",
        R"({"type":"object","properties":{"event":{"type":"string"},"text":{"type":"string"},)"
        R"("messages":{"type":"integer"},"since":{"type":"integer"}}})",
        "json"};
    return schema;
}

/** The topic's beginning: a name has no levels. */
std::string prefixOf(std::string name) {
    std::replace(name.begin(), name.end(), '/', '_');
    return '/' + name;
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

// Events

EventTopic::EventTopic(RecordingSink& sink, const std::string& prefix)
    : fSink(sink),
      fTopic(sink.addTopic(eventSchema(), prefix + "/events", {}, RecordingSink::Repeat::No)) {
}

void EventTopic::write(const std::string& event, const std::string& text) {
    xWrite(Json{{"event", event}, {"text", text}}.dump(-1, ' ', false,
                                                       Json::error_handler_t::replace));
}

bool EventTopic::xWrite(const std::string& data) {
    const std::lock_guard lock(fMutex);
    const std::uint64_t time = now();
    return fSink.write(fTopic, ++fSequence, time, time, data);
}

void EventTopic::countDrop() {
    const std::lock_guard lock(fMutex);
    if (fDropped++ == 0) {
        fDroppedSince = now();
    }
}

void EventTopic::reportDrops() {
    const std::lock_guard lock(fMutex);
    if (fDropped == 0) {
        return;
    }
    const std::uint64_t time = now();
    const Json event{{"event", "dropped"},
                     {"text", "The disk was too slow, or a message too large."},
                     {"messages", fDropped},
                     {"since", fDroppedSince}};
    if (fSink.write(fTopic, ++fSequence, time, time, event.dump())) {
        fDropped = 0;
    }
}

// Cameras

CameraRecorder::CameraRecorder(RecordingSink& sink, EventTopic& events, std::string prefix,
                               picture::CameraInfo camera)
    : fSink(sink), fEvents(events), fPrefix(std::move(prefix)), fCamera(std::move(camera)) {
}

void CameraRecorder::addTo(RobotProgress& progress) const {
    const std::lock_guard lock(fMutex);
    progress.fFrames += fFrames;
    progress.fMissedFrames += fMissed;
}

void CameraRecorder::frameReceived(const KVFrame& frame, std::uint64_t /*passedOver*/) {
    const std::uint64_t logTime = now();
    const MessageSchema& schema = imageSchema(frame.fFormat);
    const std::lock_guard lock(fMutex);
    // A restarted robot counts from 1 again.
    if (fLastNumber != 0 && frame.fNumber > fLastNumber) {
        fMissed += frame.fNumber - fLastNumber - 1;
    }
    fLastNumber = frame.fNumber;
    if (schema.fName.empty()) {
        ++fMissed;
        return;
    }
    auto topic = fTopics.find(&schema);
    if (topic == fTopics.end()) {
        const RecordingSink::Topic added = fSink.addTopic(
            schema, fPrefix + "/camera/" + fCamera.fName,
            {{"camera", fCamera.fName},
             {"description", std::string(base::shortened(fCamera.fDescription, a_longestText))}},
            RecordingSink::Repeat::No);
        topic = fTopics.emplace(&schema, added).first;
    }
    fEvents.reportDrops();
    if (fSink.write(topic->second, static_cast<std::uint32_t>(frame.fNumber), logTime,
                    nanoseconds(frame.fTime), imageMessage(frame, fCamera.fName))) {
        ++fFrames;
    } else {
        fEvents.countDrop();
    }
}

void CameraRecorder::ended(const KVError& error) {
    fEvents.write("camera ended", fCamera.fName + ": " + error.toString());
}

// Robots

RobotRecorder::RobotRecorder(std::string host, RobotSelection selection, Bell& bell,
                             Interruption& interruption)
    : fHost(std::move(host)),
      fSelection(std::move(selection)),
      fBell(bell),
      fInterruption(interruption),
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
    const std::string prefix = prefixOf(fName);
    fEvents = std::make_unique<EventTopic>(sink, prefix);
    fGroup = sink.addTopic(groupSchema(), prefix + "/memory", {}, RecordingSink::Repeat::No);
    for (const picture::CameraInfo& camera : fCameraInfos) {
        fCameras.push_back(std::make_unique<CameraRecorder>(sink, *fEvents, prefix, camera));
    }
    xDescribe();
    fEvents->write("begin", "");
    xSubscribe();
}

/** Writes what is known about the robot at the beginning of each file. */
void RobotRecorder::xDescribe() {
    const Endpoint& endpoint = fLink->endpoint();
    fSink->addMetadata({"robot",
                        {{"name", fName},
                         {"topics", prefixOf(fName)},
                         {"host", fHost},
                         {"address", endpoint.reachableHost()},
                         {"port", std::to_string(endpoint.fPort)}}});
    const download::RobotIcon icon = download::getRobotIcon(endpoint.reachableHost(), a_iconTimeout);
    if (icon.fFault.empty()) {
        fSink->addAttachment({now(), 0, fName + "/icon", "application/octet-stream", icon.fBytes});
    }
}

void RobotRecorder::xSubscribe() {
    const auto selection = fSelection.fPatterns.empty() ? KVSubscription::Selection::AllKeys
                                                        : KVSubscription::Selection::ChosenKeys;
    fSubscription = KVSubscription::start(fLink->connection(), fSelection.fModule, selection,
                                          fSelection.fRate, this);
    for (const auto& camera : fCameras) {
        fStreams.push_back(KVFrameStream::start(fLink->connection(), a_videoModule,
                                                camera->camera(), camera.get()));
    }
}

bool RobotRecorder::needsAttention() const {
    const std::lock_guard lock(fMutex);
    return fSelectionChanged || fRefusal || (fIsLost && Clock::now() >= fNextAttempt);
}

void RobotRecorder::attend() {
    std::optional<std::vector<std::uint32_t>> ids;
    bool isDue = false;
    {
        const std::lock_guard lock(fMutex);
        if (fRefusal) {
            std::rethrow_exception(std::exchange(fRefusal, nullptr));
        }
        if (std::exchange(fSelectionChanged, false)) {
            ids.emplace();
            for (const auto& [id, key] : fKeysById) {
                ids->push_back(id);
            }
        }
        isDue = fIsLost && Clock::now() >= fNextAttempt;
    }
    if (isDue) {
        xReconnect();
    } else if (ids && !fSelection.fPatterns.empty()) {
        fSubscription->setKeys(*ids);
    }
}

void RobotRecorder::xReconnect() {
    stop();
    try {
        auto link = std::make_unique<RobotLink>(fHost, a_attemptTimeout, fInterruption);
        fLink = std::move(link);
    } catch (const KVError&) {
        xPostpone();
        return;
    } catch (const Failure&) {
        xPostpone();
        return;
    }
    {
        const std::lock_guard lock(fMutex);
        fKeysById.clear();
        fIsLost = false;
    }
    fEvents->write("connected", "");
    xSubscribe();
}

void RobotRecorder::xPostpone() {
    const std::lock_guard lock(fMutex);
    fNextAttempt = Clock::now() + a_attemptDistance;
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
    fSubscription.reset();
    fStreams.clear();
}

void RobotRecorder::writeEnd() {
    fEvents->reportDrops();
    fEvents->write("end", "");
}

RobotProgress RobotRecorder::progress() const {
    RobotProgress progress;
    for (const auto& camera : fCameras) {
        camera->addTo(progress);
    }
    const std::lock_guard lock(fMutex);
    progress.fValues = fValues;
    progress.fIsConnected = !fIsLost;
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

void RobotRecorder::keysAdded(const std::vector<KVKeyInfo>& keys) {
    {
        const std::lock_guard lock(fMutex);
        for (const KVKeyInfo& info : keys) {
            if (xIsSelected(info.fName)) {
                Key& key = fKeys[info.fName];
                key.fInfo = info;
                fKeysById[info.fId] = &key;
                fSelectionChanged = true;
            }
        }
    }
    fBell.ring();
}

void RobotRecorder::keysRemoved(const std::vector<std::uint32_t>& ids) {
    std::vector<std::string> names;
    {
        const std::lock_guard lock(fMutex);
        for (const std::uint32_t id : ids) {
            const auto key = fKeysById.find(id);
            if (key != fKeysById.end()) {
                names.push_back(key->second->fInfo.fName);
                fKeysById.erase(key);
            }
        }
    }
    for (const std::string& name : names) {
        fEvents->write("key removed", name);
    }
}

void RobotRecorder::valuesChanged(const std::vector<KVChange>& changes) {
    const std::uint64_t logTime = now();
    fEvents->reportDrops();
    const std::lock_guard lock(fMutex);
    for (const KVChange& change : changes) {
        const auto key = fKeysById.find(change.fId);
        if (key == fKeysById.end()) {
            continue;
        }
        if (xWrite(*key->second, change, logTime)) {
            ++fValues;
        } else {
            fEvents->countDrop();
        }
    }
}

bool RobotRecorder::xWrite(Key& key, const KVChange& change, std::uint64_t logTime) {
    const std::optional<RecordingSink::Topic> topic = xTopicOf(key, formOf(change.fValue));
    if (!topic) {
        return fSink->write(*fGroup, ++fGroupSequence, logTime, nanoseconds(change.fTime),
                            groupMessage(key.fInfo.fName, change.fValue));
    }
    return fSink->write(*topic, ++key.fSequence, logTime, nanoseconds(change.fTime),
                        valueMessage(change.fValue));
}

/** Returns the topic of a key's values, or nothing if it belongs to the group. */
std::optional<RecordingSink::Topic> RobotRecorder::xTopicOf(Key& key, ValueForm form) {
    const auto known = key.fTopics.find(form);
    if (known != key.fTopics.end()) {
        return known->second;
    }
    const KVKeyInfo& info = key.fInfo;
    if (info.fName.size() > a_longestText || !fSink->hasTopicsLeft()) {
        return std::nullopt;
    }
    const RecordingSink::Topic topic = fSink->addTopic(
        valueSchema(form), prefixOf(fName) + "/memory/" + info.fName,
        {{"key", info.fName},
         {"unit", std::string(base::shortened(info.fUnit, a_longestText))},
         {"description", std::string(base::shortened(info.fDescription, a_longestText))},
         {"writable", info.fWritable ? "true" : "false"}},
        RecordingSink::Repeat::Yes);
    key.fTopics.emplace(form, topic);
    return topic;
}

void RobotRecorder::ended(const KVError& error) {
    const bool isLost = error.cause() == KVError::Cause::ConnectionLost;
    fEvents->write(isLost ? "lost" : "values ended", error.toString());
    {
        const std::lock_guard lock(fMutex);
        fIsLost = isLost;
        fNextAttempt = Clock::now();
        // Another robot may have cameras only.
        const bool isExpected =
            error.cause() == KVError::Cause::NoSuchModule && !fCameras.empty() && fPatterns.empty();
        if (!isLost && !isExpected) {
            fRefusal = std::make_exception_ptr(error);
        }
    }
    fBell.ring();
}

}  // namespace robaxi_tool
