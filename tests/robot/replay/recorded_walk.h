#ifndef OBVISTA_TESTS_ROBOT_REPLAY_RECORDED_WALK_H
#define OBVISTA_TESTS_ROBOT_REPLAY_RECORDED_WALK_H

#include <robaxi/kv_value.h>

#include <cstdint>
#include <map>
#include <recording/writer.h>
#include <set>
#include <string>
#include <vector>

namespace robot_test {

constexpr std::uint64_t a_start = 1'700'000'000'000'000'000;
constexpr std::uint64_t a_millisecond = 1'000'000;

/** A path in the test's folder. */
std::string pathOf(const std::string& name);

/** A key's value and time, as it should be at some time of a replay. */
struct Expected {
    KVValue fValue;
    std::int64_t fTime = 0;  ///< 0 for a key that has no value yet
};

/**
 * A recording of a robot "walker", written by the test, which remembers what is in it. The robot's
 * clock is an hour slow.
 */
class RecordedWalk {
  public:
    explicit RecordedWalk(const std::string& name);

    /** Writes a value at a time after the beginning. Keys that begin with "Group/" have no channel
     *  of their own. */
    void set(std::uint64_t time, const std::string& key, const KVValue& value);
    void removeKey(std::uint64_t time, const std::string& key);
    /** Writes a grey picture of 2x1 pixels. */
    void addFrame(std::uint64_t time, const std::string& camera, std::uint32_t number);
    /** Begins another chunk of the file. */
    void flush() { fWriter.flush(); }
    void finish() { fWriter.finish(); }
    /** Copies the file as it is before finish(). @return the path of the copy */
    std::string copyUnfinished(const std::string& name);

    const std::string& path() const { return fPath; }

    using Keys = std::map<std::string, Expected>;
    /** Returns what a robot replayed up to a time has. */
    Keys at(std::uint64_t time) const;
    /** Returns the same for several times, by reading the recording once. */
    std::map<std::uint64_t, Keys> at(const std::set<std::uint64_t>& times) const;
    /** Returns the number of the newest frame of a camera; 0 if there is none. */
    std::uint64_t frameAt(std::uint64_t time, const std::string& camera) const;
    /** The times of the messages. */
    const std::vector<std::uint64_t>& times() const { return fTimes; }

  private:
    struct Step {
        std::uint64_t fTime;
        std::string fKey;
        KVValue fValue;
        bool fIsRemoval;
    };
    struct Frame {
        std::uint64_t fTime;
        std::string fCamera;
        std::uint32_t fNumber;
    };

    std::uint16_t xChannel(const std::string& schema, const std::string& topic,
                           const std::string& encoding, const recording::Texts& metadata);
    void xWrite(std::uint16_t channel, std::uint32_t number, std::uint64_t time,
                const std::string& data);

    const std::string fPath;
    recording::Writer fWriter;
    std::map<std::string, std::uint16_t> fSchemas;
    std::map<std::string, std::uint16_t> fChannels;
    std::vector<Step> fSteps;
    std::vector<Frame> fFrames;
    std::vector<std::uint64_t> fTimes;
};

/** Returns the robot's time of a message, in microseconds. */
std::int64_t robotTime(std::uint64_t time);

}  // namespace robot_test

#endif
