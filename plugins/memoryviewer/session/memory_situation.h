#ifndef OBVISTA_MEMORYVIEWER_MEMORY_SITUATION_H
#define OBVISTA_MEMORYVIEWER_MEMORY_SITUATION_H

#include <QString>

#include <cstddef>

namespace memoryviewer {

/** Phase of the robot's values. */
enum class MemoryPhase {
    WaitingForKeys,
    Live,
    Interrupted,  ///< the robot is lost, and may return
    Refused,
    Lost,
    Closed
};

/** State of a session. */
struct MemorySituation {
    MemoryPhase fPhase = MemoryPhase::WaitingForKeys;
    QString fRefusal;        ///< reason why there are no values, plain text
    std::size_t fKeys = 0;   ///< number of the robot's keys
    int fUpdates = 0;        ///< a second
    double fRoundTrip = -1;  ///< seconds; negative if unknown
    double fAge = -1;        ///< of the newest value, seconds; negative if there is none
    QString fReplay;         ///< state of a replay, such as "replay at 2×"; empty for other robots
    bool fIsReplayPaused = false;
    double fQuietSeconds = 0;  ///< since the last value; 0 while none is expected

    bool isLive() const { return fPhase == MemoryPhase::Live; }
    /** Returns true if no more values come. */
    bool isOver() const {
        return fPhase == MemoryPhase::Refused || fPhase == MemoryPhase::Lost ||
               fPhase == MemoryPhase::Closed;
    }
};

}  // namespace memoryviewer

#endif
