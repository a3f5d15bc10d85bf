#include "replay/replay_module.h"

#include <base/time.h>

#include <algorithm>
#include <memory>

namespace robot {

namespace {

std::int64_t microseconds(std::uint64_t nanoseconds) {
    return static_cast<std::int64_t>(nanoseconds / base::a_nanosecondsPerMicrosecond);
}

/** A time before 1970 is before every recording. */
std::uint64_t nanoseconds(std::int64_t microseconds) {
    constexpr std::int64_t latest = INT64_MAX / base::a_nanosecondsPerMicrosecond;
    return static_cast<std::uint64_t>(std::clamp(microseconds, std::int64_t{0}, latest)) *
           base::a_nanosecondsPerMicrosecond;
}

/** A position in microseconds is the end of its microsecond: its messages have been shown. */
std::uint64_t endOfMicrosecond(std::int64_t microseconds) {
    return nanoseconds(microseconds) + base::a_nanosecondsPerMicrosecond - 1;
}

std::uint32_t addKey(KVValueTable& table, const char* name, const char* unit,
                     const char* description, const KVValue& value) {
    KVKeyInfo info;
    info.fName = name;
    info.fUnit = unit;
    info.fDescription = description;
    return table.addKey(info, value);
}

KVValue stateMap(const Player& player, const ReplayValues& values) {
    const PlayerState state = player.state();
    return KVValue::Map{{"position", microseconds(state.fPosition)},
                        {"start", microseconds(player.start())},
                        {"end", microseconds(player.end())},
                        {"clockOffset", values.clockOffset()},
                        {"playing", state.fIsPlaying},
                        {"speed", state.fSpeed},
                        {"loop", state.fLoop},
                        {"fault", state.fFault}};
}

}  // namespace

ReplayValues::ReplayValues()
    : fTable(std::make_shared<KVValueTable>()),
      fPosition(
          addKey(*fTable, "Position", "µs", "Time in the recording, since 1970-01-01 UTC", 0)),
      fIsPlaying(addKey(*fTable, "Playing", "", "True while it plays", false)),
      fSpeed(addKey(*fTable, "Speed", "", "Recorded seconds per second", 1.0)),
      fLoop(addKey(*fTable, "Loop", "", "True if it starts over at the end", false)),
      fStart(addKey(*fTable, "Start", "µs", "Beginning of the recording", 0)),
      fEnd(addKey(*fTable, "End", "µs", "End of the recording", 0)),
      fClockOffset(
          addKey(*fTable, "ClockOffset", "µs", "The recorder's clock minus the robot's", 0)),
      fFault(addKey(*fTable, "Fault", "", "Damage in the file at which it stopped", "")) {
}

void ReplayValues::setTimes(std::uint64_t start, std::uint64_t end, std::int64_t clockOffset) {
    fTable->setValues({{fStart, microseconds(start)},
                       {fEnd, microseconds(end)},
                       {fClockOffset, clockOffset / base::a_nanosecondsPerMicrosecond}});
}

void ReplayValues::set(const PlayerState& state) {
    fTable->setValues({{fPosition, microseconds(state.fPosition)},
                       {fIsPlaying, state.fIsPlaying},
                       {fSpeed, state.fSpeed},
                       {fLoop, state.fLoop},
                       {fFault, state.fFault}});
}

std::shared_ptr<KVModule> makeReplayModule(Player& player, KeyHistory& history,
                                           const ReplayValues& values) {
    auto module = std::make_shared<KVModule>("KVReplay", "The replay of a recording.");
    module->setValues(values.table());
    module->bindMethod(
        "getState", [&player, &values] { return stateMap(player, values).toMap(); },
        "Returns position, start, end, playing, speed, loop and fault.");
    module->bindMethod(
        "play", [&player] { player.play(); }, "Plays; at the end, from the beginning.");
    module->bindMethod(
        "pause", [&player] { player.pause(); }, "Stops at the position.");
    module->bindMethod(
        "seek",
        [&player](std::int64_t time) { return microseconds(player.seek(endOfMicrosecond(time))); },
        "Goes to a time in microseconds since 1970; returns the position.");
    module->bindMethod(
        "step",
        [&player](std::int64_t count, const std::string& camera) {
            KVRange{-Player::a_mostSteps, Player::a_mostSteps}.check("The position", count);
            return microseconds(player.step(static_cast<int>(count), camera));
        },
        "Moves that many changes, or frames of a camera, forward or back; returns the position.");
    module->bindMethod(
        "setSpeed",
        [&player](double speed) {
            KVRange{a_lowestSpeed, a_highestSpeed}.check("The speed", speed);
            player.setSpeed(speed);
        },
        "Sets the recorded seconds per second, 0.1 to 50.");
    module->bindMethod(
        "setLoop", [&player](bool loop) { player.setLoop(loop); },
        "Sets whether it starts over at the end.");
    module->bindMethod(
        "getHistory",
        [&history](const std::string& key, std::int64_t from, std::int64_t to,
                   std::int64_t points) {
            return history.get(key, nanoseconds(from), endOfMicrosecond(to), points);
        },
        "Returns times and numbers of a key, thinned out to that many points.");
    return module;
}

}  // namespace robot
