#include "memory_slope.h"

#include "bench/figures.h"

namespace bench {

void MemorySlope::look() {
    const double now = std::chrono::duration<double>(Clock::now() - fBegin).count();
    if (fPoints.empty() || now - fPoints.back().fSeconds >= 1) {
        fPoints.push_back({now, residentMegabytes(fProcess)});
    }
}

double MemorySlope::megabytesAnHour() const {
    double seconds = 0;
    double megabytes = 0;
    const auto count = static_cast<double>(fPoints.size());
    for (const Point& point : fPoints) {
        seconds += point.fSeconds / count;
        megabytes += point.fMegabytes / count;
    }
    double both = 0;
    double square = 0;
    for (const Point& point : fPoints) {
        both += (point.fSeconds - seconds) * (point.fMegabytes - megabytes);
        square += (point.fSeconds - seconds) * (point.fSeconds - seconds);
    }
    constexpr double secondsInHour = 3600;
    return square > 0 ? secondsInHour * both / square : 0;
}

}  // namespace bench
