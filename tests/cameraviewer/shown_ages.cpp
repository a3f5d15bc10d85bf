#include "shown_ages.h"

#include "camera_driver.h"

#include <QWidget>

#include <algorithm>
#include <vector>

namespace obvista_test {

ShownAges::ShownAges(QWidget* viewer, std::chrono::seconds period, std::size_t leastFrames)
    : fPeriod(period), fLeastFrames(leastFrames) {
    connect(pictureOf(viewer), SIGNAL(pictureShown(quint64, qint64)), this,
            SLOT(xOnShown(quint64, qint64)));
}

void ShownAges::clear() {
    fAges.clear();
    fSince = Clock::now();
}

double ShownAges::ofPart(double part) const {
    if (Clock::now() - fSince < fPeriod || fAges.size() < fLeastFrames) {
        return -1;
    }
    std::vector<double> sorted;
    for (const auto& [time, age] : fAges) {
        sorted.push_back(age);
    }
    std::sort(sorted.begin(), sorted.end());
    return sorted[static_cast<std::size_t>(part * static_cast<double>(sorted.size() - 1))];
}

void ShownAges::xOnShown(quint64, qint64 time) {
    using std::chrono::duration_cast;
    using std::chrono::microseconds;
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    const auto age = duration_cast<microseconds>(sinceEpoch).count() - time;
    constexpr double thousand = 1e3;
    fAges.emplace_back(Clock::now(), static_cast<double>(age) / thousand);
    while (Clock::now() - fAges.front().first > fPeriod) {
        fAges.pop_front();
    }
}

}  // namespace obvista_test
