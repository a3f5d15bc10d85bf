#include "speed_text.h"

#include <obvista/viewer/replay_state.h>

#include <QCoreApplication>

#include <algorithm>
#include <tuple>

namespace obvista {

namespace {

/** Returns a difference of untrusted times without overflow. */
std::int64_t difference(std::int64_t time, std::int64_t offset) {
    std::int64_t result = 0;
    return __builtin_sub_overflow(time, offset, &result) ? time : result;
}

/** The texts of this file in the catalogues of translations. */
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(obvista::ReplayState)
};

auto tied(const ReplayState& state) {
    return std::tie(state.fPosition, state.fStart, state.fEnd, state.fClockOffset, state.fIsPlaying,
                    state.fSpeed, state.fLoop, state.fFault);
}

}  // namespace

std::int64_t ReplayState::robotTime(std::int64_t time) const {
    return difference(time, fClockOffset);
}

std::int64_t ReplayState::recordedTime(std::int64_t robotTime) const {
    return difference(robotTime, -std::max(fClockOffset, -INT64_MAX));
}

bool ReplayState::operator==(const ReplayState& other) const {
    return tied(*this) == tied(other);
}

QString replayText(const ReplayState& state) {
    if (!state.isReplay()) {
        return {};
    }
    return state.fIsPlaying ? Texts::tr("replay at %1").arg(speedText(state.fSpeed))
                            : Texts::tr("replay paused");
}

}  // namespace obvista
