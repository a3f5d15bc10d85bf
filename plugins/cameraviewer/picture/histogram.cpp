#include "histogram.h"

#include <QtGlobal>

#include <algorithm>
#include <cstddef>

namespace cameraviewer {
namespace {

using Bins = std::array<std::uint32_t, 256>;

/**
 * Neighbours often have the same value. Counting alternately in four tables avoids waiting for the
 * previous increment.
 */
constexpr std::size_t a_tables = 4;

/** @param distance bytes between values of the channel */
void countRow(const uchar* row, std::size_t width, std::size_t distance,
              std::array<Bins, a_tables>& tables) {
    std::size_t x = 0;
    for (; x + a_tables <= width; x += a_tables) {
        for (std::size_t table = 0; table < a_tables; ++table) {
            ++tables[table][row[(x + table) * distance]];
        }
    }
    for (; x < width; ++x) {
        ++tables[0][row[x * distance]];
    }
}

/** Position of the channels of a format in the bytes of a row. */
struct Channels {
    std::vector<std::size_t> fOffsets;  ///< of a channel's first value: red, green, blue; or grey
    std::size_t fDistance = 1;          ///< bytes between values of a channel
};

Channels channelsOf(QImage::Format format) {
    switch (format) {
        case QImage::Format_Grayscale8:
            return {{0}, 1};
        case QImage::Format_RGB888:
            return {{0, 1, 2}, 3};
        case QImage::Format_RGB32:  // 0xffRRGGBB as a number
            return Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? Channels{{2, 1, 0}, 4}
                                                   : Channels{{1, 2, 3}, 4};
        default:
            return {};
    }
}

Histogram summed(const std::array<Bins, a_tables>& tables) {
    Histogram histogram;
    std::uint64_t sum = 0;
    std::uint64_t count = 0;
    for (std::size_t value = 0; value < histogram.fBins.size(); ++value) {
        for (const Bins& table : tables) {
            histogram.fBins[value] += table[value];
        }
        sum += value * histogram.fBins[value];
        count += histogram.fBins[value];
    }
    const auto isThere = [](std::uint32_t pixels) { return pixels != 0; };
    const Bins& bins = histogram.fBins;
    const auto first = std::find_if(bins.begin(), bins.end(), isThere);
    const auto last = std::find_if(bins.rbegin(), bins.rend(), isThere);
    histogram.fMinimum = static_cast<int>(first - bins.begin());
    histogram.fMaximum = static_cast<int>(bins.rend() - last) - 1;
    histogram.fMean = static_cast<double>(sum) / static_cast<double>(count);
    return histogram;
}

}  // namespace

std::vector<Histogram> histogramsOf(const QImage& image) {
    const Channels channels = channelsOf(image.format());
    std::vector<Histogram> histograms;
    for (std::size_t channel = 0; channel < channels.fOffsets.size() && !image.isNull();
         ++channel) {
        std::array<Bins, a_tables> tables{};
        for (int y = 0; y < image.height(); ++y) {
            countRow(image.constScanLine(y) + channels.fOffsets[channel],
                     static_cast<std::size_t>(image.width()), channels.fDistance, tables);
        }
        histograms.push_back(summed(tables));
    }
    return histograms;
}

}  // namespace cameraviewer
