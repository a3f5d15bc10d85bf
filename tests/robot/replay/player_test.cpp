// A replay shows at each time what the robot had, however that time is reached.
#include "replay/player.h"

#include "recorded_walk.h"
#include "replay/clock_offset.h"
#include "replay/key_history.h"

#include <robaxi/kv_error.h>
#include <robaxi/kv_frame_source.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <list>
#include <memory>
#include <mutex>
#include <random>
#include <recorded_robot/recorded_robot.h>
#include <set>

namespace robot_test {
namespace {

using robot::KeyHistory;
using robot::Player;
using robot::PlayerOptions;
using robot::PlayerState;
using robot::Stage;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr std::uint64_t a_end = 6000 * a_millisecond;
constexpr std::chrono::seconds a_patience(60);

/** A recording that is played. */
class Replay {
  public:
    explicit Replay(const std::string& path, const PlayerOptions& options = paused())
        : fReader(path),
          fStage(fReader, recorded_robot::robotsOf(fReader).at(0),
                 [this](const std::string& line) { fComplaints.push_back(line); }),
          fPlayer(std::make_unique<Player>(fReader, fStage, options,
                                           [this](const PlayerState& state) { xTake(state); })) {}

    static PlayerOptions paused() {
        PlayerOptions options;
        options.fIsPaused = true;
        return options;
    }

    Player& player() { return *fPlayer; }
    const Stage& stage() const { return fStage; }
    const std::vector<std::string>& complaints() const { return fComplaints; }

    std::map<std::string, Expected> shown() const {
        std::map<std::string, Expected> shown;
        for (const KVKeyInfo& key : fStage.memory()->getValues()->getKeys()) {
            const KVChange value = fStage.memory()->getValues()->getValue(key.fName);
            shown[key.fName] = {value.fValue, value.fTime};
        }
        return shown;
    }

    KVValue value(const std::string& key) const {
        return fStage.memory()->getValues()->getValue(key).fValue;
    }

    bool waitUntil(const std::function<bool(const PlayerState&)>& condition) {
        std::unique_lock lock(fMutex);
        return fChanged.wait_for(lock, a_patience, [&] { return condition(fState); });
    }

  private:
    void xTake(const PlayerState& state) {
        const std::lock_guard lock(fMutex);
        fState = state;
        fChanged.notify_all();
    }

    std::mutex fMutex;
    std::condition_variable fChanged;
    PlayerState fState;
    recording::Reader fReader;
    std::vector<std::string> fComplaints;
    Stage fStage;
    std::unique_ptr<Player> fPlayer;
};

void expectShown(const std::map<std::string, Expected>& expected, const Replay& replay) {
    const std::map<std::string, Expected> shown = replay.shown();
    for (const auto& [key, value] : expected) {
        const auto found = shown.find(key);
        ASSERT_NE(shown.end(), found) << key;
        ASSERT_EQ(value.fValue, found->second.fValue) << key;
        if (value.fTime != 0) {
            ASSERT_EQ(value.fTime, found->second.fTime) << key;
        }
    }
    for (const auto& [key, value] : shown) {
        // A key of the group stays, without a value, before its first one.
        ASSERT_TRUE(expected.count(key) != 0 || value.fValue.isNothing()) << key;
    }
}

/** Fast and slow keys, of all kinds, in many chunks. The file is not finished. */
void walkOn(RecordedWalk& walk) {
    std::mt19937 random(11);
    std::uint32_t frames = 0;
    for (std::uint64_t time = 10; time < 6000; time += 10) {
        const std::uint64_t now = time * a_millisecond;
        const auto number = static_cast<std::int64_t>(time);
        walk.set(now, "Joint/Knee", 0.001 * static_cast<double>(number));
        walk.set(now, "Steps", number / 100);
        if (random() % 30 == 0) {
            walk.set(now, "State", "state " + std::to_string(number));
        }
        if (random() % 50 == 0) {
            walk.set(now, "Type", number % 20 == 0 ? KVValue(number) : KVValue(0.5));
        }
        if (random() % 40 == 0) {
            walk.set(now, "Group/" + std::to_string(random() % 5), number);
        }
        if (random() % 60 == 0) {
            walk.set(now, "Goes", number % 20 == 0);
        }
        if (random() % 80 == 0) {
            walk.removeKey(now, "Goes");
        }
        if (time % 40 == 0) {
            walk.addFrame(now, "head", ++frames);
        }
    }
    walk.set(a_end, "Rare", true);
}

void writeWalk(RecordedWalk& walk) {
    walkOn(walk);
    walk.finish();
}

TEST(Player, ASeekShowsWhatAStraightReadingShows) {
    RecordedWalk walk("seek.mcap");
    writeWalk(walk);
    Replay replay(walk.path());
    EXPECT_THAT(replay.complaints(), ElementsAre());
    std::mt19937_64 random(3);
    for (int i = 0; i < 300; ++i) {
        const std::uint64_t time = random() % (a_end + 1);
        const std::uint64_t position = replay.player().seek(a_start + time);
        ASSERT_EQ(std::max(a_start + time, replay.player().start()), position);
        expectShown(walk.at(position - a_start), replay);
        if (HasFatalFailure()) {
            FAIL() << time;
        }
    }
}

TEST(Player, ASeekToAnyTimeOfAnHourShowsWhatAStraightReadingShows) {
    constexpr std::uint64_t hour = 3'600'000 * a_millisecond;
    constexpr int fastKeys = 10;
    constexpr int slowKeys = 40;
    RecordedWalk walk("hour.mcap");
    std::mt19937_64 random(5);
    for (std::uint64_t time = 0; time <= hour; time += 500 * a_millisecond) {
        for (int key = 0; key < fastKeys; ++key) {
            walk.set(time, "Fast/" + std::to_string(key),
                     0.001 * static_cast<double>(random() % 100));
        }
        // About once in four minutes.
        if (random() % 12 == 0) {
            walk.set(time, "Slow/" + std::to_string(random() % slowKeys),
                     static_cast<std::int64_t>(time));
        }
        walk.addFrame(time, "head", static_cast<std::uint32_t>(time / (1000 * a_millisecond)));
    }
    walk.finish();
    std::vector<std::uint64_t> times;
    for (int i = 0; i < 1000; ++i) {
        times.push_back(random() % (hour + 1));
    }
    const auto expected = walk.at(std::set<std::uint64_t>(times.begin(), times.end()));
    Replay replay(walk.path());
    for (const std::uint64_t time : times) {
        replay.player().seek(a_start + time);
        expectShown(expected.at(time), replay);
        if (HasFatalFailure()) {
            FAIL() << time;
        }
    }
}

void stepThroughEveryChangeAndBack(const RecordedWalk& walk, const std::string& path) {
    std::vector<std::uint64_t> times = walk.times();
    times.erase(std::unique(times.begin(), times.end()), times.end());
    Replay replay(path);
    EXPECT_EQ(a_start + times.front(), replay.player().state().fPosition);
    for (std::size_t i = 1; i < times.size(); ++i) {
        ASSERT_EQ(a_start + times[i], replay.player().step(1, ""));
        expectShown(walk.at(times[i]), replay);
    }
    EXPECT_EQ(a_start + times.back(), replay.player().step(1, ""));
    for (std::size_t i = times.size() - 1; i > 0; i -= 7) {
        if (i < 8) {
            break;
        }
        ASSERT_EQ(a_start + times[i - 7], replay.player().step(-7, ""));
        expectShown(walk.at(times[i - 7]), replay);
    }
    replay.player().step(-Player::a_mostSteps, "");
    EXPECT_EQ(a_start + times.front(), replay.player().state().fPosition);
    // The next frame is that of 40 ms.
    EXPECT_EQ(a_start + 40 * a_millisecond, replay.player().step(1, "head"));
    EXPECT_EQ(a_start + 120 * a_millisecond, replay.player().step(2, "head"));
    EXPECT_EQ(a_start + 80 * a_millisecond, replay.player().step(-1, "head"));
    expectShown(walk.at(80 * a_millisecond), replay);
    EXPECT_EQ(a_start + 80 * a_millisecond, replay.player().step(1, "no such camera"));
    EXPECT_EQ(a_start + 80 * a_millisecond, replay.player().step(-1, "no such camera"));
}

TEST(Player, StepsThroughEveryChangeAndBack) {
    RecordedWalk walk("steps.mcap");
    walkOn(walk);
    const std::string unfinished = walk.copyUnfinished("unfinished.mcap");
    walk.finish();
    stepThroughEveryChangeAndBack(walk, walk.path());
    stepThroughEveryChangeAndBack(walk, unfinished);
}

/** A recording that was not finished, of which the first half is damaged while it is read. */
class HalfOfAWalk {
  public:
    HalfOfAWalk() : fWalk("half.mcap") {
        for (std::uint64_t i = 0; i <= a_messages; ++i) {
            fWalk.set(i * a_millisecond, "Joint/Knee", static_cast<double>(i));
        }
        fPath = fWalk.copyUnfinished("half_unfinished.mcap");
    }

    const std::string& path() const { return fPath; }
    void damage() const {
        const std::string zeros(std::filesystem::file_size(fPath) / 2, '\0');
        std::fstream(fPath, std::ios::in | std::ios::out | std::ios::binary) << zeros;
    }

    static constexpr std::uint64_t a_messages = 2000;

  private:
    RecordedWalk fWalk;
    std::string fPath;
};

/** Returns the bytes that this program has read. */
std::uint64_t bytesRead() {
    std::ifstream counters("/proc/self/io");
    std::string name;
    std::uint64_t bytes = 0;
    counters >> name >> bytes;
    EXPECT_EQ("rchar:", name);
    return bytes;
}

TEST(Player, StepsBackByReadingThePartOnce) {
    const HalfOfAWalk half;
    Replay replay(half.path());
    replay.player().seek(a_start + HalfOfAWalk::a_messages * a_millisecond);
    const std::uint64_t before = bytesRead();
    replay.player().step(-1000, "");
    EXPECT_EQ(KVValue(1000.0), replay.value("Joint/Knee"));
    EXPECT_LT(bytesRead() - before, std::filesystem::file_size(half.path()));
}

TEST(Player, StepsBackWithoutReadingTheFileFromItsBeginning) {
    const HalfOfAWalk half;
    Replay replay(half.path());
    std::uint64_t time = a_start + HalfOfAWalk::a_messages * a_millisecond;
    EXPECT_EQ(time, replay.player().seek(time));
    half.damage();
    time -= 500 * a_millisecond;
    EXPECT_EQ(time, replay.player().step(-500, ""));
    EXPECT_EQ(KVValue(1500.0), replay.value("Joint/Knee"));
    EXPECT_EQ("", replay.player().state().fFault);
    // The damaged half is reported, and the position stays.
    EXPECT_EQ(time, replay.player().step(-Player::a_mostSteps, ""));
    EXPECT_THAT(replay.player().state().fFault, HasSubstr("chunk at byte"));
}

TEST(Player, ReadsNothingAfterItHasStopped) {
    const HalfOfAWalk half;
    Replay replay(half.path());
    const std::uint64_t middle = a_start + HalfOfAWalk::a_messages / 2 * a_millisecond;
    replay.player().seek(middle);
    half.damage();
    replay.player().stop();
    EXPECT_EQ(middle, replay.player().step(-Player::a_mostSteps, ""));
    EXPECT_EQ(middle, replay.player().step(Player::a_mostSteps, ""));
    EXPECT_EQ(a_start, replay.player().seek(a_start));
    EXPECT_EQ("", replay.player().state().fFault);
}

TEST(Player, PlaysToTheEndAndStops) {
    RecordedWalk walk("play.mcap");
    writeWalk(walk);
    Replay replay(walk.path());
    replay.player().setSpeed(50);
    replay.player().play();
    ASSERT_TRUE(replay.waitUntil([](const PlayerState& state) {
        return !state.fIsPlaying && state.fPosition == a_start + a_end;
    }));
    expectShown(walk.at(a_end), replay);
    // Again from the beginning; slowly enough to be seen on a busy machine.
    replay.player().setSpeed(1);
    replay.player().play();
    EXPECT_TRUE(replay.waitUntil([](const PlayerState& state) {
        return state.fIsPlaying && state.fPosition < a_start + a_end;
    }));
    replay.player().pause();
    EXPECT_FALSE(replay.player().state().fIsPlaying);
    expectShown(walk.at(replay.player().state().fPosition - a_start), replay);
}

TEST(Player, BeginsAgainAtTheEndOfALoop) {
    RecordedWalk walk("loop.mcap");
    writeWalk(walk);
    PlayerOptions options;
    options.fLoop = true;
    options.fSpeed = 50;
    options.fStart = 5.5;
    Replay replay(walk.path(), options);
    EXPECT_TRUE(replay.waitUntil(
        [](const PlayerState& state) { return state.fPosition < a_start + 5500 * a_millisecond; }));
    EXPECT_TRUE(replay.player().state().fIsPlaying);
}

TEST(Player, KeepsUnitsAndDescriptionsAndRefusesWriting) {
    RecordedWalk walk("meta.mcap");
    walk.set(0, "Joint/Knee", 0.5);
    walk.finish();
    Replay replay(walk.path());
    const auto keys = replay.stage().memory()->getValues()->getKeys();
    ASSERT_EQ(1U, keys.size());
    EXPECT_EQ("rad", keys[0].fUnit);
    EXPECT_EQ("an angle", keys[0].fDescription);
    EXPECT_FALSE(keys[0].fWritable);
    EXPECT_THROW(replay.stage().memory()->invoke("setData", {"Joint/Knee", 1.0}), KVError);
    EXPECT_EQ(nullptr, replay.stage().video());
}

TEST(Player, StopsAtADamagedPartAndSaysWhere) {
    RecordedWalk walk("damaged.mcap");
    writeWalk(walk);
    std::ifstream file(walk.path(), std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const std::size_t middle = bytes.find("(\xB5\x2F\xFD", bytes.size() / 3);
    ASSERT_NE(std::string::npos, middle);
    bytes[middle + 30] = static_cast<char>(bytes[middle + 30] ^ 0x55);
    const std::string path = pathOf("damaged2.mcap");
    std::ofstream(path, std::ios::binary) << bytes;
    Replay replay(path);
    replay.player().setSpeed(50);
    replay.player().play();
    ASSERT_TRUE(replay.waitUntil([](const PlayerState& state) { return !state.fFault.empty(); }));
    EXPECT_THAT(replay.player().state().fFault, HasSubstr("chunk at byte"));
    EXPECT_FALSE(replay.player().state().fIsPlaying);
    replay.player().play();
    EXPECT_FALSE(replay.player().state().fIsPlaying);
    EXPECT_THAT(replay.player().state().fFault, HasSubstr("chunk at byte"));
    // The part before it can be seen.
    replay.player().seek(a_start + 500 * a_millisecond);
    EXPECT_EQ("", replay.player().state().fFault);
    expectShown(walk.at(500 * a_millisecond), replay);
}

// Histories

std::vector<double> numbersOf(const KVValue::Map& history) {
    std::vector<double> numbers;
    for (const KVValue& number : history.at("values").toList()) {
        numbers.push_back(number.toFloat());
    }
    return numbers;
}

TEST(History, HasEveryNumberOfAFewAndTheExtremesOfMany) {
    RecordedWalk walk("history.mcap");
    for (std::uint64_t i = 0; i < 6000; ++i) {
        const double spike = i == 4321 ? 50 : std::sin(static_cast<double>(i));
        walk.set(i * a_millisecond, "Wave", spike);
    }
    for (std::uint64_t i = 6000; i < 6005; ++i) {
        walk.set(i * a_millisecond, "Few", static_cast<std::int64_t>(i));
    }
    walk.finish();
    Replay replay(walk.path());
    KeyHistory history(walk.path(), replay.stage());
    const KVValue::Map few = history.get("Few", a_start, a_start + a_end * 2, 100);
    EXPECT_THAT(numbersOf(few), ElementsAre(6000, 6001, 6002, 6003, 6004));
    EXPECT_EQ(KVValue(robotTime(6000 * a_millisecond)), few.at("times").toList().at(0));
    EXPECT_TRUE(few.at("complete").toBool());
    EXPECT_FALSE(few.at("thinned").toBool());

    const KVValue::Map wave = history.get("Wave", a_start, a_start + a_end * 2, 100);
    const std::vector<double> numbers = numbersOf(wave);
    EXPECT_LE(numbers.size(), 105U);
    EXPECT_TRUE(wave.at("thinned").toBool());
    EXPECT_EQ(50, *std::max_element(numbers.begin(), numbers.end()));
    EXPECT_LT(*std::min_element(numbers.begin(), numbers.end()), -0.99);
    const KVValue::List& times = wave.at("times").toList();
    EXPECT_TRUE(std::is_sorted(
        times.begin(), times.end(),
        [](const KVValue& left, const KVValue& right) { return left.toInt() < right.toInt(); }));
    // A span begins with the value that held then.
    const KVValue::Map part =
        history.get("Few", a_start + 6002 * a_millisecond + 1, a_start + 6003 * a_millisecond, 100);
    EXPECT_THAT(numbersOf(part), ElementsAre(6002, 6003));

    EXPECT_THROW(history.get("No such key", a_start, a_start + a_end, 100), KVError);
    EXPECT_THROW(history.get("Few", a_start, a_start + a_end, 1), KVError);
    EXPECT_THROW(history.get("Few", a_start, a_start + a_end, 1'000'000), KVError);
    EXPECT_THAT(numbersOf(history.get("Few", a_start + a_end * 2, a_start, 100)),
                ElementsAre(6004));
}

TEST(History, EndsTheCurveOfARemovedKey) {
    RecordedWalk walk("removed.mcap");
    for (std::uint64_t n = 0; n < 100; ++n) {
        walk.set(n * 10 * a_millisecond, "Arm", static_cast<double>(n));
        walk.set(n * 10 * a_millisecond, "Leg", static_cast<double>(n));
    }
    walk.removeKey(2000 * a_millisecond, "Arm");
    walk.set(3000 * a_millisecond, "Arm", 7.0);
    walk.removeKey(4000 * a_millisecond, "Arm");
    walk.set(5000 * a_millisecond, "Leg", 1.0);
    walk.finish();
    Replay replay(walk.path());
    KeyHistory history(walk.path(), replay.stage());
    for (const std::int64_t points : {1000, 20}) {
        const KVValue::Map arm =
            history.get("Arm", a_start, a_start + 6000 * a_millisecond, points);
        const std::vector<double> numbers = numbersOf(arm);
        ASSERT_GE(numbers.size(), 4U);
        EXPECT_TRUE(std::isnan(numbers[numbers.size() - 3])) << points;
        EXPECT_EQ(7.0, numbers[numbers.size() - 2]) << points;
        EXPECT_TRUE(std::isnan(numbers.back())) << points;
        const KVValue::List times = arm.at("times").toList();
        EXPECT_EQ(robotTime(2000 * a_millisecond), times[times.size() - 3].toInt()) << points;
        EXPECT_EQ(robotTime(4000 * a_millisecond), times.back().toInt()) << points;
        EXPECT_EQ(
            1.0,
            numbersOf(history.get("Leg", a_start, a_start + 6000 * a_millisecond, points)).back());
    }
    EXPECT_THAT(numbersOf(history.get("Arm", a_start + 2500 * a_millisecond,
                                      a_start + 3500 * a_millisecond, 100)),
                ElementsAre(7.0));
    EXPECT_THAT(numbersOf(history.get("Arm", a_start + 4500 * a_millisecond,
                                      a_start + 6000 * a_millisecond, 100)),
                IsEmpty());
}

TEST(History, LeavesThreadsToOtherMethods) {
    RecordedWalk walk("busy.mcap");
    walk.set(0, "Arm", 1.0);
    walk.finish();
    Replay replay(walk.path());
    KeyHistory history(walk.path(), replay.stage());
    const auto get = [&] { return history.get("Arm", a_start, a_start + a_millisecond, 100); };
    std::list<KeyHistory::Place> calls;
    while (calls.size() < KeyHistory::a_mostCalls) {
        calls.emplace_back(history);
    }
    for (int i = 0; i < 2; ++i) {
        try {
            get();
            FAIL() << "it was not refused";
        } catch (const KVError& error) {
            EXPECT_EQ(KVError::Cause::TooMany, error.cause());
            EXPECT_THAT(error.toString(), HasSubstr("Request it again."));
        }
    }
    calls.pop_front();
    EXPECT_THAT(numbersOf(get()), ElementsAre(1.0));
    EXPECT_THAT(numbersOf(get()), ElementsAre(1.0));
}

TEST(History, ReadsNothingAfterItHasStopped) {
    const HalfOfAWalk half;
    const Replay replay(half.path());
    KeyHistory history(half.path(), replay.stage());
    half.damage();
    history.stop();
    try {
        history.get("Joint/Knee", a_start, a_start + a_end, 100);
        FAIL() << "it was not refused";
    } catch (const KVError& error) {
        EXPECT_EQ(KVError::Cause::Cancelled, error.cause());
    }
}

TEST(History, OutlivesADamagedEvent) {
    RecordedWalk walk("damaged-event.mcap");
    walk.set(0, "Arm", 1.0);
    walk.set(0, "Group/Leg", 1.0);
    walk.removeKey(10 * a_millisecond, "Arm");
    walk.removeKey(20 * a_millisecond, "Group/Leg");
    walk.flush();
    const auto begin = static_cast<std::streamoff>(std::filesystem::file_size(walk.path()));
    walk.removeKey(30 * a_millisecond, std::string(100, 'x'));
    walk.flush();
    walk.set(40 * a_millisecond, "Arm", 2.0);
    walk.finish();
    Replay replay(walk.path());
    {
        constexpr std::streamoff chunkHead = 60;
        std::fstream file(walk.path(), std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(begin + chunkHead).write("damage", 6);
    }
    KeyHistory history(walk.path(), replay.stage());
    for (const char* const key : {"Arm", "Group/Leg"}) {
        const std::vector<double> numbers =
            numbersOf(history.get(key, a_start, a_start + 25 * a_millisecond, 100));
        ASSERT_EQ(2U, numbers.size()) << key;
        EXPECT_EQ(1.0, numbers[0]) << key;
        EXPECT_TRUE(std::isnan(numbers[1])) << key;
    }
}

TEST(History, HasTheNumbersOfGroupedKeys) {
    RecordedWalk walk("grouped.mcap");
    for (std::uint64_t i = 0; i < 3000; ++i) {
        walk.set(i * a_millisecond, "Group/Wave",
                 i == 1234 ? 50 : std::sin(static_cast<double>(i)));
        walk.set(i * a_millisecond, "Own", 0.5);
    }
    walk.set(3000 * a_millisecond, "Group/Rare", 1);
    walk.set(3001 * a_millisecond, "Group/Rare", 2);
    walk.set(3002 * a_millisecond, "Group/Wave", true);
    walk.finish();
    Replay replay(walk.path());
    KeyHistory history(walk.path(), replay.stage());
    const std::vector<double> wave =
        numbersOf(history.get("Group/Wave", a_start, a_start + a_end, 100));
    EXPECT_LE(wave.size(), 105U);
    EXPECT_EQ(50, *std::max_element(wave.begin(), wave.end()));
    EXPECT_EQ(1, wave.back());
    // A span begins with the value that held then, however long ago it came.
    const KVValue::Map rest =
        history.get("Group/Rare", a_start + 3002 * a_millisecond, a_start + a_end, 100);
    EXPECT_THAT(numbersOf(rest), ElementsAre(2));
    EXPECT_EQ(KVValue(robotTime(3001 * a_millisecond)), rest.at("times").toList().at(0));
    EXPECT_THAT(numbersOf(history.get("Own", a_start + a_end, a_start + a_end, 100)),
                ElementsAre(0.5));
    // A key that never came cannot be told from one of another part of the group.
    EXPECT_THAT(numbersOf(history.get("Group/None", a_start, a_start + a_end, 100)), IsEmpty());
}

TEST(ClockOffset, IsTheShortestDelayOfAChange) {
    const std::string path = pathOf("clocks.mcap");
    recording::WriterOptions options;
    options.fOverwrites = true;
    recording::Writer writer(path, options);
    const std::uint16_t schema = writer.addSchema("robaxi.Float", "jsonschema", "{}");
    const std::uint16_t fast = writer.addChannel(schema, "/walker/memory/Fast", "json", {});
    const std::uint16_t constant = writer.addChannel(schema, "/walker/memory/Constant", "json", {});
    const std::uint16_t wrong = writer.addChannel(schema, "/walker/memory/Wrong", "json", {});
    const std::uint64_t offset = 90'000 * a_millisecond;
    const auto write = [&](std::uint16_t channel, std::uint64_t log, std::uint64_t publish) {
        writer.write({channel, 0, log, publish, R"({"value":1})"});
    };
    // The first values are of long ago.
    write(constant, a_start, a_start - 7'200'000 * a_millisecond);
    write(wrong, a_start, 1);
    write(fast, a_start, a_start - 3'600'000 * a_millisecond);
    for (std::uint64_t i = 1; i < 100; ++i) {
        const std::uint64_t delay = 5 * a_millisecond + i % 7 * a_millisecond;
        const std::uint64_t log = a_start + i * 10 * a_millisecond;
        write(fast, log, log - offset - delay);
        // Times that make no sense.
        write(wrong, log, log + 400'000'000 * a_millisecond);
    }
    writer.finish();
    recording::Reader reader(path);
    const auto expected = static_cast<std::int64_t>(offset + 5 * a_millisecond);
    EXPECT_EQ(expected, robot::clockOffset(reader, {fast, constant, wrong}));
    EXPECT_EQ(expected, robot::clockOffset(reader, {fast}));
    // Nothing has changed, which does not tell.
    EXPECT_EQ(0, robot::clockOffset(reader, {constant}));
}

}  // namespace
}  // namespace robot_test
