#ifndef OBVISTA_MEMORYVIEWER_MEMORY_TEXTS_H
#define OBVISTA_MEMORYVIEWER_MEMORY_TEXTS_H

#include "session/memory_situation.h"

#include <QString>

#include <cstddef>

namespace memoryviewer {

/** State described by the viewer's texts. */
struct ViewerSituation : MemorySituation {
    explicit ViewerSituation(const MemorySituation& memory) : MemorySituation(memory) {}

    QString fFilter;         ///< as typed
    QString fFilterFault;    ///< the error in the filter; empty if there is none
    QString fPausedSince;    ///< a time of day; empty if it is not paused
    QString fWriteRefusal;   ///< the robot's reason for refusing the last write, for a while
    std::size_t fShown = 0;  ///< number of keys that match the filter
};

/** Returns the reason why there are no rows; empty if there are some. */
QString messageFor(const ViewerSituation& situation);
/** Returns the problem with the displayed rows; empty if there is none. */
QString noticeFor(const ViewerSituation& situation);
QString statusFor(const ViewerSituation& situation);

}  // namespace memoryviewer

#endif
