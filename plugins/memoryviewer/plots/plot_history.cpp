#include "plots/plot_history.h"

#include <algorithm>

namespace memoryviewer {

void PlotHistory::setMaximum(std::size_t points) {
    fMaximum = std::max(points, CurveHistory::a_chunkSize);
    xForgetBeyond();
}

void PlotHistory::remove(int key) {
    const auto curve = fCurves.find(key);
    if (curve != fCurves.end()) {
        fSize -= curve->second.size();
        fCurves.erase(curve);
    }
}

void PlotHistory::append(int key, const CurvePoint& point) {
    const auto curve = fCurves.find(key);
    if (curve != fCurves.end()) {
        curve->second.append(point, ++fOrder);
        ++fSize;
        xForgetBeyond();
    }
}

void PlotHistory::interrupt(int key, std::int64_t time) {
    const auto curve = fCurves.find(key);
    if (curve != fCurves.end()) {
        const std::size_t before = curve->second.size();
        curve->second.interrupt(time, ++fOrder);
        fSize += curve->second.size() - before;
        xForgetBeyond();
    }
}

void PlotHistory::interruptAll(std::int64_t time) {
    for (const auto& [key, curve] : fCurves) {
        interrupt(key, time);
    }
}

void PlotHistory::clear() {
    for (auto& [key, curve] : fCurves) {
        curve = CurveHistory();
    }
    fSize = 0;
}

void PlotHistory::xForgetBeyond() {
    while (fSize > fMaximum) {
        const auto oldest = std::min_element(
            fCurves.begin(), fCurves.end(), [](const auto& one, const auto& other) {
                return one.second.orderOfOldest() < other.second.orderOfOldest();
            });
        fSize -= oldest->second.forgetOldest();
    }
}

}  // namespace memoryviewer
