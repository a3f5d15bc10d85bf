#include "histogram.h"

#include <algorithm>
#include <cstddef>

namespace cameraviewer {
namespace {

using Bins = std::array<std::uint32_t, 256>;

/** Neighbours often have the same value. Counting them in turns in four tables keeps one count from
 *  waiting for the one before it. */
constexpr std::size_t a_tables = 4;

void countRow(const uchar* row, std::size_t width, std::array<Bins, a_tables>& tables) {
    std::size_t x = 0;
    for (; x + a_tables <= width; x += a_tables) {
        for (std::size_t table = 0; table < a_tables; ++table) {
            ++tables[table][row[x + table]];
        }
    }
    for (; x < width; ++x) {
        ++tables[0][row[x]];
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

std::optional<Histogram> histogramOf(const QImage& image) {
    if (image.isNull() || image.format() != QImage::Format_Grayscale8) {
        return std::nullopt;
    }
    std::array<Bins, a_tables> tables{};
    for (int y = 0; y < image.height(); ++y) {
        countRow(image.constScanLine(y), static_cast<std::size_t>(image.width()), tables);
    }
    return summed(tables);
}

}  // namespace cameraviewer
