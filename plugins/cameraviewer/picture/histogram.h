#ifndef OBVISTA_CAMERAVIEWER_HISTOGRAM_H
#define OBVISTA_CAMERAVIEWER_HISTOGRAM_H

#include <QImage>

#include <array>
#include <cstdint>
#include <optional>

namespace cameraviewer {

/** How often each value of grey is in a picture. */
struct Histogram {
    std::array<std::uint32_t, 256> fBins{};  ///< pixels of each value
    int fMinimum = 0;                        ///< the darkest value that is there
    int fMaximum = 0;                        ///< the brightest one
    double fMean = 0;
};

/** Nothing for a picture that is not Format_Grayscale8, or is empty. May be called from any
 *  thread. */
std::optional<Histogram> histogramOf(const QImage& image);

}  // namespace cameraviewer

#endif
