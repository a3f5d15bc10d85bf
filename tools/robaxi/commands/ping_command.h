#ifndef OBVISTA_TOOLS_ROBAXI_COMMANDS_PING_COMMAND_H
#define OBVISTA_TOOLS_ROBAXI_COMMANDS_PING_COMMAND_H

#include <vector>

namespace robaxi_tool {

/** Statistics of round trips, in the unit of the input. */
struct RoundTripStatistics {
    double fMinimum = 0;
    double fMean = 0;
    double fMedian = 0;
    double fPercentile99 = 0;  ///< the smallest value that at least 99 of 100 do not exceed
    double fMaximum = 0;
};

/** @param times at least one */
RoundTripStatistics statisticsOf(std::vector<double> times);

}  // namespace robaxi_tool

#endif
