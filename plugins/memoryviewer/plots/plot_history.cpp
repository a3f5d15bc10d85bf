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
        fRecorded.erase(key);
    }
}

void PlotHistory::setRecorded(int key, const std::vector<CurvePoint>& points) {
    const auto curve = fCurves.find(key);
    if (curve == fCurves.end()) {
        return;
    }
    fSize -= curve->second.size();
    curve->second = CurveHistory();
    for (const CurvePoint& point : points) {
        curve->second.append(point, ++fOrder);
    }
    fSize += points.size();
    fRecorded.insert(key);
    xForgetBeyond();
}

/** Returns the curve of a key to which points can be added; null if there is none. */
CurveHistory* PlotHistory::xGrowing(int key) {
    const auto curve = fCurves.find(key);
    return curve != fCurves.end() && fRecorded.count(key) == 0 ? &curve->second : nullptr;
}

void PlotHistory::append(int key, const CurvePoint& point) {
    if (CurveHistory* curve = xGrowing(key)) {
        curve->append(point, ++fOrder);
        ++fSize;
        xForgetBeyond();
    }
}

void PlotHistory::interrupt(int key, std::int64_t time) {
    if (CurveHistory* curve = xGrowing(key)) {
        const std::size_t before = curve->size();
        curve->interrupt(time, ++fOrder);
        fSize += curve->size() - before;
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
    fRecorded.clear();
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
