#ifndef OBVISTA_MEMORYVIEWER_MEMORY_TEXTS_H
#define OBVISTA_MEMORYVIEWER_MEMORY_TEXTS_H

#include <QString>

#include <cstddef>

namespace memoryviewer {

/** Phase of the robot's values. */
enum class MemoryPhase { WaitingForKeys, Live, Refused, Lost, Closed };

/** State described by the viewer's texts. */
struct MemorySituation {
    MemoryPhase fPhase = MemoryPhase::WaitingForKeys;
    QString fRefusal;          ///< reason why there are no values, plain text
    QString fRobot;            ///< name and address, plain text
    QString fFilter;           ///< as typed
    QString fFilterFault;      ///< the error in the filter; empty if there is none
    QString fPausedSince;      ///< a time of day; empty if it is not paused
    QString fWriteRefusal;     ///< the robot's reason for refusing the last write, for a while
    std::size_t fKeys = 0;     ///< number of the robot's keys
    std::size_t fShown = 0;    ///< number that match the filter
    int fUpdates = 0;          ///< a second
    double fRoundTrip = -1;    ///< seconds; negative if unknown
    double fAge = -1;          ///< of the newest value, seconds; negative if there is none
    double fQuietSeconds = 0;  ///< since the last value

    bool isLive() const { return fPhase == MemoryPhase::Live; }
};

/** Returns the reason why there are no rows; empty if there are some. */
QString messageFor(const MemorySituation& situation);
/** Returns the problem with the displayed rows; empty if there is none. */
QString noticeFor(const MemorySituation& situation);
QString statusFor(const MemorySituation& situation);

}  // namespace memoryviewer

#endif
