#ifndef OBVISTA_VIEWER_REPLAY_STATE_H
#define OBVISTA_VIEWER_REPLAY_STATE_H

#include <obvista/viewer/viewer_export.h>

#include <QString>

#include <cstdint>
#include <string>

namespace obvista {

/**
 * The state of a robot that is a replay of a recording. Times are microseconds since 1970-01-01
 * UTC, by the recorder's clock unless said otherwise. All of it is untrusted.
 */
struct ReplayState {
    std::int64_t fPosition = 0;     ///< Position, in microseconds by the recording's clock
    std::int64_t fStart = 0;        ///< Start of the recording, in the same unit
    std::int64_t fEnd = 0;          ///< End of the recording, in the same unit
    std::int64_t fClockOffset = 0;  ///< the recorder's clock minus the robot's
    bool fIsPlaying = false;        ///< False while paused
    double fSpeed = 1;              ///< Recorded seconds in a second
    bool fLoop = false;             ///< True if it starts over at the end
    std::string fFault;             ///< Why it cannot go on; empty if it can. Untrusted

    /** Returns true if the robot has the module "KVReplay". */
    bool isReplay() const { return fEnd > 0; }
    /** Returns the time by the robot's clock, which is that of its values and frames, at a time by
     *  the recorder's clock. */
    OBVISTA_VIEWER_EXPORT std::int64_t robotTime(std::int64_t time) const;
    /** Returns the time by the recorder's clock at a time by the robot's. */
    OBVISTA_VIEWER_EXPORT std::int64_t recordedTime(std::int64_t robotTime) const;
    /** True if all are equal */
    OBVISTA_VIEWER_EXPORT bool operator==(const ReplayState& other) const;
    bool operator!=(const ReplayState& other) const { return !(*this == other); }  ///< Not ==
};

/** Returns for instance "replay paused" or, if it plays, "replay at 2×"; empty for other robots. */
OBVISTA_VIEWER_EXPORT QString replayText(const ReplayState& state);

}  // namespace obvista

#endif
