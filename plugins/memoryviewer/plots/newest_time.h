#ifndef OBVISTA_MEMORYVIEWER_NEWEST_TIME_H
#define OBVISTA_MEMORYVIEWER_NEWEST_TIME_H

#include "plots/plotted_keys.h"

#include <QElapsedTimer>

#include <vector>

namespace memoryviewer {

/**
 * The time that plots follow: that of the newest sample, and when none comes although curves go on,
 * since nothing changes, what has passed since.
 *
 * A robot may send nonsense for some keys, which must not take the others out of sight, and its
 * clock may be set back, which must. All in microseconds by the robot's clock.
 */
class NewestTime {
  public:
    void take(const std::vector<PlotSample>& samples);
    /** @param isGoingOn whether a curve goes on, so that time passes without a sample */
    double at(bool isGoingOn) const;
    /** Takes the time as it stands now for that of the newest sample. @return it */
    double hold(bool isGoingOn);
    /** The same, but no later than the newest sample and `latest`. */
    void takeBack(bool isGoingOn, double latest);
    /** The time stands still until the next sample. */
    void stop() { fSinceSample.invalidate(); }

    /** That of the newest sample. */
    double ofSamples() const { return fNewest; }

  private:
    double fNewest = 0;
    QElapsedTimer fSinceSample;
    QElapsedTimer fSincePlausible;
};

}  // namespace memoryviewer

#endif
