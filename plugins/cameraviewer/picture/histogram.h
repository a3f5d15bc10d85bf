#ifndef OBVISTA_CAMERAVIEWER_HISTOGRAM_H
#define OBVISTA_CAMERAVIEWER_HISTOGRAM_H

#include <QImage>

#include <array>
#include <cstdint>
#include <vector>

namespace cameraviewer {

/** Histogram of one channel of a picture. */
struct Histogram {
    std::array<std::uint32_t, 256> fBins{};  ///< pixels of each value
    int fMinimum = 0;                        ///< the darkest value of the picture
    int fMaximum = 0;                        ///< the brightest value
    double fMean = 0;
};

/**
 * Returns the histograms of a picture's channels: one for Format_Grayscale8, three (red, green,
 * blue) for Format_RGB888 or Format_RGB32, none for an empty picture or another format. May be
 * called from any thread.
 */
std::vector<Histogram> histogramsOf(const QImage& image);

}  // namespace cameraviewer

#endif
