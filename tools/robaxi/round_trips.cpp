#include "round_trips.h"

#include <algorithm>
#include <numeric>

namespace robaxi_tool {

RoundTripStatistics statisticsOf(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    const std::size_t count = times.size();
    RoundTripStatistics statistics;
    statistics.fMinimum = times.front();
    statistics.fMean =
        std::accumulate(times.begin(), times.end(), 0.0) / static_cast<double>(count);
    statistics.fMedian = (times[(count - 1) / 2] + times[count / 2]) / 2;
    statistics.fPercentile99 = times[(count * 99 + 99) / 100 - 1];
    statistics.fMaximum = times.back();
    return statistics;
}

}  // namespace robaxi_tool
