#include "replay/stage.h"

#include <base/safe_text.h>
#include <base/time.h>
#include <robaxi/kv_error.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <recorded_robot/recorded_value.h>
#include <utility>

namespace robot {

namespace {

using recorded_robot::Content;
using recorded_robot::hasFields;
using recorded_robot::hasPictures;
using recorded_robot::RecordedChannel;
using recorded_robot::timeOf;
using recording::Message;
using recording::Reader;

/** Further keys of fields are left out. */
constexpr std::size_t a_mostKeys = 200'000;
constexpr std::size_t a_mostCameras = 100;

const char* formatName(KVPixelFormat format) {
    switch (format) {
        case KVPixelFormat::Jpeg:
            return "jpeg";
        case KVPixelFormat::Yuv422:
            return "yuv422";
        case KVPixelFormat::Grey8:
            return "grey";
        default:
            return "rgb";
    }
}

/** The mean frames a second of a channel, for people. */
double rateOf(const Reader& reader, std::uint16_t channel) {
    const recording::Statistics& statistics = reader.statistics();
    const auto count = statistics.fMessagesByChannel.find(channel);
    const double seconds = static_cast<double>(statistics.fEnd - statistics.fStart) * 1e-9;
    if (count == statistics.fMessagesByChannel.end() || seconds <= 0) {
        return 1;
    }
    constexpr double highest = 10'000;
    const double rate = static_cast<double>(count->second) / seconds;
    return std::clamp(rate >= 2 ? std::round(rate) : std::round(rate * 10) / 10, 0.1, highest);
}

std::string notReplayed(const Reader& reader, std::uint16_t channel, const std::string& reason) {
    return "not replayed: " + base::oneLine(reader.channels().at(channel).fTopic) + ": " +
           base::oneLine(reason);
}

}  // namespace

Stage::Stage(Reader& reader, const recorded_robot::RecordedRobot& robot, const Complain& complain)
    : fMemory(std::make_shared<KVMemoryModule>("The recorded values of a robot.")),
      fStart(static_cast<std::int64_t>(reader.statistics().fStart /
                                       base::a_nanosecondsPerMicrosecond)) {
    recorded_robot::ParsedSchemas schemas;
    for (const auto& [id, recorded] : robot.fChannels) {
        Channel channel{{reader, id, recorded, schemas}, {}, nullptr};
        const Content content = channel.fReader.channel().fContent;
        if (content == Content::Unknown) {
            complain(notReplayed(reader, id, channel.fReader.channel().fReason));
            continue;
        }
        const bool isHistory = content == Content::Group || content == Content::Events;
        if (recorded.fIsVideo && hasPictures(content)) {
            channel.fFilm = std::make_unique<ReplayedFilm>();
            fFilms.insert(id);
        } else {
            (isHistory ? fHistories : fChannels).insert(id);
        }
        if (content == Content::Group) {
            fGroups.insert(id);
        }
        fChannelsById.emplace(id, std::move(channel));
    }
    xAddKeys(reader);
    xAddCameras(reader, complain);
}

void Stage::xAddKeys(Reader& reader) {
    for (const auto& [id, channel] : fChannelsById) {
        const RecordedChannel& recorded = channel.fReader.channel();
        const auto& counts = reader.statistics().fMessagesByChannel;
        if (recorded.fContent == Content::Value && !recorded.fName.empty() &&
            counts.count(id) != 0) {
            KVKeyInfo info;
            info.fName = base::validUtf8(recorded.fName);
            info.fUnit = base::validUtf8(recorded.fUnit);
            info.fDescription = base::validUtf8(recorded.fDescription);
            fInfos.try_emplace(info.fName, info);
            xIdOf(info.fName);
        }
    }
}

/** Returns a key, which is added if it does not exist; 0 if there are too many. */
std::uint32_t Stage::xIdOf(const std::string& key) {
    const auto known = fIds.find(key);
    if (known != fIds.end()) {
        return known->second;
    }
    if (key.empty() || fIds.size() >= a_mostKeys) {
        return 0;
    }
    KVKeyInfo info;
    info.fName = key;
    if (const auto described = fInfos.find(key); described != fInfos.end()) {
        info = described->second;
    }
    const std::uint32_t id = fMemory->getValues()->addKey(info, KVValue(), fStart);
    fIds.emplace(key, id);
    return id;
}

void Stage::xRemove(const std::string& key) {
    const auto known = fIds.find(key);
    if (known != fIds.end()) {
        fMemory->getValues()->removeKey(known->second);
        fIds.erase(known);
    }
}

// Cameras

void Stage::xAddCameras(Reader& reader, const Complain& complain) {
    for (const auto& [id, channel] : fChannelsById) {
        const RecordedChannel& recorded = channel.fReader.channel();
        if (!hasPictures(recorded.fContent)) {
            continue;
        }
        const auto camera = fCameras.find(recorded.fName);
        if (camera != fCameras.end()) {
            camera->second.fChannels.insert(id);
        } else if (!recorded.fName.empty() && fCameras.size() < a_mostCameras) {
            xAddCamera(reader, recorded.fName, id, complain);
        }
    }
}

/** Video may begin with frames that need those before the recording. */
std::optional<KVFrame> Stage::xFirstFrame(Reader& reader, std::uint16_t channel) {
    constexpr int most = 1000;
    recording::Selection selection;
    selection.fChannels = std::set<std::uint16_t>{channel};
    recording::Messages messages = reader.messages(selection);
    ReplayedFilm* const film = fChannelsById.at(channel).fFilm.get();
    for (int i = 0; i < (film != nullptr ? most : 1); ++i) {
        const std::optional<Message> message = messages.next();
        if (!message) {
            break;
        }
        std::optional<KVFrame> frame = xFrame(*message);
        if (film == nullptr) {
            return frame;
        }
        if (frame && film->take(*frame)) {
            return film->picture();
        }
    }
    return std::nullopt;
}

/** A camera without a frame that can be shown is left out. */
void Stage::xAddCamera(Reader& reader, const std::string& name, std::uint16_t first,
                       const Complain& complain) {
    Camera camera{{first}, xFirstFrame(reader, first), std::nullopt, nullptr};
    if (!camera.fFirst || camera.fFirst->fWidth == 0 || camera.fFirst->fHeight == 0) {
        const ReplayedFilm* const film = fChannelsById.at(first).fFilm.get();
        const bool isDecoderMissing =
            film != nullptr && film->fault() == picture::FrameFault::NoH264Decoder;
        complain(notReplayed(reader, first,
                             isDecoderMissing ? faultText(film->fault())
                                              : std::string(recorded_robot::a_noPicture)));
        return;
    }
    if (!fVideo) {
        fVideo = std::make_shared<KVVideoModule>("The recorded cameras of a robot.");
    }
    const KVFrame& frame = *camera.fFirst;
    fVideo->addCamera({{name,
                        base::validUtf8(fChannelsById.at(first).fReader.channel().fDescription),
                        {},
                        {static_cast<int>(frame.fWidth), static_cast<int>(frame.fHeight),
                         formatName(frame.fFormat), rateOf(reader, first)}}});
    if (frame.fSize > fFirstFramesLeft) {
        camera.fFirst.reset();
    } else {
        fFirstFramesLeft -= frame.fSize;
    }
    fCameras.emplace(name, std::move(camera));
}

std::set<std::uint16_t> Stage::cameraChannels(const std::string& camera) const {
    const auto known = fCameras.find(camera);
    return known == fCameras.end() ? std::set<std::uint16_t>() : known->second.fChannels;
}

std::optional<KVFrame> Stage::xFrame(const Message& message) {
    return fChannelsById.at(message.fChannelId).fReader.frame(message, fJpegs);
}

void Stage::xShowFrame(const std::string& camera, const KVFrame& frame) {
    try {
        fVideo->publish(camera, frame);
    } catch (const KVError&) {
        // The frame is too large to be sent: it is dropped, as a robot's would have been.
    }
}

// Values

std::set<std::uint16_t> Stage::valueChannels() const {
    std::set<std::uint16_t> channels = fChannels;
    channels.insert(fGroups.begin(), fGroups.end());
    channels.insert(fFilms.begin(), fFilms.end());
    return channels;
}

std::set<std::uint16_t> Stage::keyChannels(const std::string& key) const {
    std::set<std::uint16_t> channels;
    for (const auto& [id, channel] : fChannelsById) {
        const RecordedChannel& recorded = channel.fReader.channel();
        const bool isOfKey = (recorded.fContent == Content::Value && recorded.fName == key) ||
                             (hasFields(recorded.fContent) &&
                              (recorded.fName == key || key.compare(0, recorded.fName.size() + 1,
                                                                    recorded.fName + '/') == 0));
        if (isOfKey) {
            channels.insert(id);
        }
    }
    return channels;
}

void Stage::read(const Message& message, const recorded_robot::TakeValue& take) const {
    fChannelsById.at(message.fChannelId).fReader.takeValues(message, take);
}

void Stage::show(const Message& message) {
    const auto found = fChannelsById.find(message.fChannelId);
    if (found == fChannelsById.end()) {
        return;
    }
    Channel& channel = found->second;
    const Content content = channel.fReader.channel().fContent;
    if (content == Content::Events) {
        if (std::optional<std::string> removed = removedKey(message)) {
            xWait(*removed, {KVValue(), 0, true});
        }
    } else if (hasFields(content)) {
        xShowFields(channel, message);
    } else if (!hasPictures(content)) {
        read(message, [&](const std::string& key, const KVValue& value) {
            xSet(key, value, timeOf(message));
        });
    } else if (const auto camera = fCameras.find(channel.fReader.channel().fName);
               camera != fCameras.end()) {
        xShowPicture(camera->first, channel, message);
    }
}

void Stage::xShowPicture(const std::string& camera, Channel& channel, const Message& message) {
    std::optional<KVFrame> frame = xFrame(message);
    ReplayedFilm* const film = channel.fFilm.get();
    if (!frame || (film != nullptr && !film->take(*frame))) {
        return;
    }
    Camera& shown = fCameras.at(camera);
    if (fIsJump) {
        shown.fFilm = film;  // encodes only the last one
        shown.fShown = film == nullptr ? std::move(frame) : std::nullopt;
        return;
    }
    if (film != nullptr) {
        frame = film->picture();
    }
    if (frame) {
        flush();
        xShowFrame(camera, *frame);
    }
}

bool Stage::isKeyFrame(const Message& message) {
    const std::optional<KVFrame> frame = xFrame(message);
    return frame && recorded_robot::isKeyFrame(*frame);
}

/** A field that the message does not have has no value any more. */
void Stage::xShowFields(Channel& channel, const Message& message) {
    std::set<std::string> fields;
    read(message, [&](const std::string& key, const KVValue& value) {
        fields.insert(key);
        xSet(key, value, timeOf(message));
    });
    if (!fIsJump) {
        for (const std::string& key : channel.fFields) {
            if (fields.count(key) == 0) {
                xSet(key, KVValue(), fStart);
            }
        }
    }
    channel.fFields = std::move(fields);
}

std::set<std::uint16_t> Stage::eventChannels() const {
    std::set<std::uint16_t> channels;
    std::set_difference(fHistories.begin(), fHistories.end(), fGroups.begin(), fGroups.end(),
                        std::inserter(channels, channels.end()));
    return channels;
}

std::optional<std::string> Stage::removedKey(const Message& message) {
    const auto event = recorded_robot::recordedEvent(message.fData);
    return event && event->fName == "key removed" ? std::optional(event->fText) : std::nullopt;
}

void Stage::xSet(const std::string& key, const KVValue& value, std::int64_t time) {
    xWait(base::isUtf8(key) ? key : base::validUtf8(key), {value, time, false});
}

void Stage::xWait(const std::string& key, Waiting waiting) {
    if (fIsJump) {
        fJump[key] = std::move(waiting);
    } else {
        fWaiting.emplace_back(key, std::move(waiting));
    }
}

void Stage::flush() {
    std::vector<KVChange> changes;
    changes.reserve(fWaiting.size());
    for (auto& [key, waiting] : fWaiting) {
        if (waiting.fIsRemoved) {
            fMemory->getValues()->restore(changes);
            changes.clear();
            xRemove(key);
        } else if (const std::uint32_t id = xIdOf(key); id != 0) {
            changes.push_back({id, std::move(waiting.fValue), waiting.fTime});
        }
    }
    fWaiting.clear();
    fMemory->getValues()->restore(changes);
}

void Stage::beginJump() {
    fWaiting.clear();
    fJump.clear();
    fIsJump = true;
    for (auto& [name, camera] : fCameras) {
        camera.fShown.reset();
        camera.fFilm = nullptr;
    }
    for (auto& [id, channel] : fChannelsById) {
        channel.fFields.clear();
        if (channel.fFilm) {
            channel.fFilm->restart();
        }
    }
}

void Stage::endJump() {
    fIsJump = false;
    for (const auto& [key, info] : fInfos) {
        fJump.try_emplace(key, Waiting{KVValue(), fStart, false});
    }
    for (const auto& [key, id] : fIds) {
        fJump.try_emplace(key, Waiting{KVValue(), fStart, false});
    }
    fWaiting.assign(std::make_move_iterator(fJump.begin()), std::make_move_iterator(fJump.end()));
    fJump.clear();
    flush();
    for (auto& [name, camera] : fCameras) {
        if (camera.fFilm != nullptr) {
            camera.fShown = camera.fFilm->picture();
        }
        // Before its first frame a camera shows the first one.
        if (const auto& frame = camera.fShown ? camera.fShown : camera.fFirst) {
            xShowFrame(name, *frame);
        }
    }
}

}  // namespace robot
