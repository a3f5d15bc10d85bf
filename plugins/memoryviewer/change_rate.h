#ifndef OBVISTA_MEMORYVIEWER_CHANGE_RATE_H
#define OBVISTA_MEMORYVIEWER_CHANGE_RATE_H

#include <cstdint>

namespace memoryviewer {

/**
 * How often a key changes, from the robot's time stamps of its changes.
 *
 * The time between the last change of one turn and the last change of the next, divided by the
 * changes in between: exact for a key that changes evenly, whatever the length of a turn. A key
 * that stands still is given up step by step: its rate is never above one change in the time for
 * which it has stood still, and 0 after ten seconds or three of its periods, whichever is longer.
 */
class ChangeRate {
  public:
    /** A change at `time`, in microseconds by the robot's clock, or some of which it was the last.
     */
    void add(std::int64_t time, int changes = 1);
    /** Ends a turn, about once a second. @param now by the robot's clock */
    void endTurn(std::int64_t now);

    /** Changes a second. */
    double perSecond() const { return fPerSecond; }

    /** Forgets what was: changes were not followed for a while. */
    void reset() { *this = ChangeRate(); }

  private:
    std::int64_t fBase = 0;  // last change of the turns before; 0 before the first change
    std::int64_t fLast = 0;
    int fChanges = 0;  // since fBase
    double fPerSecond = 0;
    double fMeasured = 0;
};

}  // namespace memoryviewer

#endif
