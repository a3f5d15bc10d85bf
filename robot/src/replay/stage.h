#ifndef OBVISTA_ROBOT_REPLAY_STAGE_H
#define OBVISTA_ROBOT_REPLAY_STAGE_H

#include "replay/replayed_film.h"

#include <picture/jpeg.h>
#include <robaxi/kv_memory_module.h>
#include <robaxi/kv_video_module.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <recorded_robot/channel_reader.h>
#include <recorded_robot/recorded_robot.h>
#include <recording/reader.h>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace robot {

/**
 * The modules "KVMemory" and "KVVideo" of a replayed robot, which show recorded messages.
 *
 * Keys with their own channel exist from the beginning, others from their first value on; a key
 * without a value yet is nothing. Clients cannot write. Values and frames have the robot's times.
 *
 * For one thread at a time; the modules are used by those of the broker, too.
 */
class Stage {
  public:
    using Complain = std::function<void(const std::string&)>;

    /**
     * @param reader reads the first frame of each camera
     * @param complain receives a line for each channel that cannot be replayed
     */
    Stage(recording::Reader& reader, const recorded_robot::RecordedRobot& robot,
          const Complain& complain);

    std::shared_ptr<KVMemoryModule> memory() const { return fMemory; }
    /** Null if there are no cameras. */
    std::shared_ptr<KVVideoModule> video() const { return fVideo; }

    /** Channels of which the newest message is all that there is to show at a time. */
    const std::set<std::uint16_t>& channels() const { return fChannels; }
    /** Channels of video: a jump needs the messages since the last key frame. */
    const std::set<std::uint16_t>& films() const { return fFilms; }
    /** Returns true if a message of video can be shown without the ones before. */
    bool isKeyFrame(const recording::Message& message);
    /** Channels whose messages are all needed: those of events, and of several keys. */
    const std::set<std::uint16_t>& histories() const { return fHistories; }
    /** Channels of values and pictures: all but those of events. */
    std::set<std::uint16_t> valueChannels() const;
    /** Channels whose messages have several keys that have no channel of their own. */
    const std::set<std::uint16_t>& groups() const { return fGroups; }
    /** Returns the channels of a camera; empty for an unknown one. */
    std::set<std::uint16_t> cameraChannels(const std::string& camera) const;
    /** Returns the channels that have values of a key only; empty for an unknown one. Groups may
     *  have further values of it. */
    std::set<std::uint16_t> keyChannels(const std::string& key) const;
    /** Returns the channels of events. */
    std::set<std::uint16_t> eventChannels() const;
    /** Returns the key that a message of eventChannels() reports as removed. */
    static std::optional<std::string> removedKey(const recording::Message& message);
    /** Calls a function with the values of a message of keyChannels() or groups(). */
    void read(const recording::Message& message, const recorded_robot::TakeValue& take) const;

    /** Shows a message; values wait for flush(), so that all of one moment change at once. */
    void show(const recording::Message& message);
    /** Makes the values that wait the current ones. */
    void flush();

    /**
     * Begins a jump to another time: the messages shown until endJump() are all that there is,
     * and what has none of them has no value.
     */
    void beginJump();
    void endJump();

  private:
    struct Channel {
        recorded_robot::ChannelReader fReader;
        std::set<std::string> fFields;        ///< the keys of the last message, if it has fields
        std::unique_ptr<ReplayedFilm> fFilm;  ///< if it is video
    };
    struct Waiting {
        KVValue fValue;
        std::int64_t fTime;
        bool fIsRemoved;
    };
    struct Camera {
        std::set<std::uint16_t> fChannels;
        std::optional<KVFrame> fFirst;  ///< nothing if the first frames are too large
        std::optional<KVFrame> fShown;  ///< in a jump
        ReplayedFilm* fFilm = nullptr;  ///< in a jump, the one that has taken the newest frame
    };

    void xAddKeys(recording::Reader& reader);
    void xAddCameras(recording::Reader& reader, const Complain& complain);
    void xAddCamera(recording::Reader& reader, const std::string& name, std::uint16_t first,
                    const Complain& complain);
    std::optional<KVFrame> xFrame(const recording::Message& message);
    std::optional<KVFrame> xFirstFrame(recording::Reader& reader, std::uint16_t channel);
    void xShowPicture(const std::string& camera, Channel& channel,
                      const recording::Message& message);
    void xShowFields(Channel& channel, const recording::Message& message);
    void xShowFrame(const std::string& camera, const KVFrame& frame);
    void xSet(const std::string& key, const KVValue& value, std::int64_t time);
    void xWait(const std::string& key, Waiting waiting);
    std::uint32_t xIdOf(const std::string& key);
    void xRemove(const std::string& key);

    const std::shared_ptr<KVMemoryModule> fMemory;
    std::shared_ptr<KVVideoModule> fVideo;
    std::map<std::uint16_t, Channel> fChannelsById;
    std::set<std::uint16_t> fChannels;
    std::set<std::uint16_t> fFilms;
    std::set<std::uint16_t> fHistories;
    std::set<std::uint16_t> fGroups;
    std::int64_t fStart = 0;
    /** Metadata of keys that have their own channel. */
    std::unordered_map<std::string, KVKeyInfo> fInfos;
    std::unordered_map<std::string, std::uint32_t> fIds;
    std::map<std::string, Camera> fCameras;
    std::size_t fFirstFramesLeft = std::size_t{128} << 20U;  ///< bytes
    /** In the order of the messages. */
    std::vector<std::pair<std::string, Waiting>> fWaiting;
    bool fIsJump = false;
    std::unordered_map<std::string, Waiting> fJump;
    picture::JpegReader fJpegs;
};

}  // namespace robot

#endif
