#ifndef OBVISTA_MEMORYVIEWER_CHANGE_RATE_H
#define OBVISTA_MEMORYVIEWER_CHANGE_RATE_H

#include <array>
#include <cstdint>

namespace memoryviewer {

/**
 * Time stamps of successive changes of one key: their number, first, last, and shortest interval.
 */
class ChangeTimes {
  public:
    /** One change. Times are in microseconds by the robot's clock. */
    explicit ChangeTimes(std::int64_t time) : fFirst(time), fLast(time) {}

    /**
     * Adds a later change. The same time is the same change; an earlier time means that the robot's
     * clock was set back, and drops the previous changes.
     */
    void add(std::int64_t time);

    std::int64_t first() const { return fFirst; }
    std::int64_t last() const { return fLast; }
    int count() const { return fCount; }
    /** Returns the shortest interval between two of them; INT64_MAX if there is only one. */
    std::int64_t shortestGap() const { return fShortestGap; }

  private:
    std::int64_t fFirst;
    std::int64_t fLast;
    int fCount = 1;
    std::int64_t fShortestGap = INT64_MAX;
};

/**
 * Rate at which a key changes: the changes that the robot sent in the last five turns, of about a
 * second each, by their time stamps.
 *
 * It is their number divided by the time from the previous change to the last one of them: exact
 * for a key that changes periodically, however seldom. A change waits for the robot's next update
 * and for the viewer, so a key counts as constant only after that delay and its longest pause. Then
 * its rate falls, to 0 after ten seconds or three of its periods, whichever is longer.
 */
class ChangeRate {
  public:
    /**
     * Sets the subscribed rate of the key in updates a second; 0 if it is not subscribed, which
     * keeps the rate unchanged. After a new subscription the rate is unknown at first.
     */
    void setUpdateRate(double updatesPerSecond);

    /** @param now microseconds by a monotonic clock of this machine */
    void add(const ChangeTimes& times, std::int64_t now);
    /** Ends a turn, about once a second. @param now as in add() */
    void endTurn(std::int64_t now);

    /**
     * Returns the changes a second that the robot sent; 0 if unknown, or if the key does not
     * change.
     */
    double perSecond() const { return fPerSecond; }
    /**
     * Returns true if the key may change more often: the changes are so close together that others
     * between them may not have been sent.
     */
    bool isLowerBound() const { return fIsLowerBound; }

  private:
    struct Turn {
        int fChanges = 0;
        std::int64_t fFirst = 0;
        std::int64_t fLast = 0;
        std::int64_t fShortestGap = INT64_MAX;
        std::int64_t fLongestGap = 0;
    };

    void xBegin(std::int64_t time);
    Turn xSum() const;
    void xMeasure(const Turn& sum);
    void xShow(const Turn& sum, std::int64_t now);
    void xStartTurn();

    static constexpr std::size_t a_turns = 5;

    std::array<Turn, a_turns> fTurns;  // the current one last
    std::int64_t fBase = 0;            // last change before them; 0 before the first change
    std::int64_t fLast = 0;            // the newest change
    std::int64_t fArrival = 0;         // time of its arrival
    double fUpdateRate = 0;
    double fSpan = 0;      // seconds covered by the changes of the turns
    double fPause = 0;     // longest time between two of them, seconds
    double fMeasured = 0;  // while it changed
    double fPerSecond = 0;
    bool fIsLowerBound = false;
};

}  // namespace memoryviewer

#endif
