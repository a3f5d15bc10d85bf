#ifndef OBVISTA_MEMORYVIEWER_NEWEST_TIME_H
#define OBVISTA_MEMORYVIEWER_NEWEST_TIME_H

#include "plots/plotted_keys.h"

#include <QElapsedTimer>

#include <vector>

namespace memoryviewer {

/**
 * The time that plots follow: that of the newest sample plus, if curves continue without samples
 * because nothing changes, the time elapsed since.
 *
 * A robot may send invalid times for some keys, which must not move the others out of view, and its
 * clock may be set back, which must. All times are in microseconds by the robot's clock.
 */
class NewestTime {
  public:
    void take(const std::vector<PlotSample>& samples);
    /** @param isGoingOn true if a curve continues, so that time advances without a sample */
    double at(bool isGoingOn) const;
    /** Makes the current time that of the newest sample. @return it */
    double hold(bool isGoingOn);
    /** The same, but no later than the newest sample and `latest`. */
    void takeBack(bool isGoingOn, double latest);
    /** Stops the time until the next sample. */
    void stop() { fSinceSample.invalidate(); }

    /** Returns the time of the newest sample. */
    double ofSamples() const { return fNewest; }

  private:
    double fNewest = 0;
    QElapsedTimer fSinceSample;
    QElapsedTimer fSincePlausible;
};

}  // namespace memoryviewer

#endif
