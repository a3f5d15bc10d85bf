#ifndef OBVISTA_MEMORYVIEWER_PLOT_SAMPLE_H
#define OBVISTA_MEMORYVIEWER_PLOT_SAMPLE_H

#include <QtGlobal>

namespace memoryviewer {

/** A value of a plotted key. */
struct PlotSample {
    int fKey = -1;      ///< see PlotPanel::keyHandle()
    qint64 fTime = 0;   ///< microseconds by the robot's clock
    double fValue = 0;  ///< not-a-number makes a gap
};

}  // namespace memoryviewer

#endif
