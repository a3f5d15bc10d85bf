#ifndef OBVISTA_MEMORYVIEWER_MEMORY_TEXTS_H
#define OBVISTA_MEMORYVIEWER_MEMORY_TEXTS_H

#include <QString>

#include <cstddef>

namespace memoryviewer {

/** How it stands with the robot's values. */
enum class MemoryPhase { WaitingForKeys, Live, Refused, Lost, Closed };

/** What the texts of the viewer tell about. */
struct MemorySituation {
    MemoryPhase fPhase = MemoryPhase::WaitingForKeys;
    QString fRefusal;          ///< why there are no values, plain text
    QString fRobot;            ///< name and address, plain text
    QString fFilter;           ///< as typed
    QString fFilterFault;      ///< why it is none; empty when it is one
    QString fPausedSince;      ///< a time of day; empty when it is not paused
    QString fWriteRefusal;     ///< why the robot did not take the last value written, for a while
    std::size_t fKeys = 0;     ///< that the robot has
    std::size_t fShown = 0;    ///< that the filter lets pass
    int fUpdates = 0;          ///< a second
    double fRoundTrip = -1;    ///< seconds; negative when it is not known
    double fAge = -1;          ///< of the newest value, seconds; negative when there is none
    double fQuietSeconds = 0;  ///< since a value came

    bool isLive() const { return fPhase == MemoryPhase::Live; }
};

/** Why there are no rows; empty when there are some. */
QString messageFor(const MemorySituation& situation);
/** What is the matter with the rows that are shown; empty when nothing is. */
QString noticeFor(const MemorySituation& situation);
QString statusFor(const MemorySituation& situation);

}  // namespace memoryviewer

#endif
