#ifndef OBVISTA_TOOLS_ROBAXI_RECORDING_RECORDED_TIME_H
#define OBVISTA_TOOLS_ROBAXI_RECORDING_RECORDED_TIME_H

#include <cstdint>
#include <string>

namespace robaxi_tool {

/**
 * Parses a time in a recording: seconds from its start ("12.5"), a clock time ("14:32",
 * "14:32:05.5" in the computer's time zone, with "Z" in UTC), or a date and time as 'info' prints
 * it
 * ("2026-11-22T14:32:05.5Z"). A clock time is on the day of the start, or on the next day if that
 * would be before the start.
 *
 * @param start of the recording, in nanoseconds since 1970
 * @throws UsageError
 */
std::uint64_t parseRecordedTime(const std::string& text, std::uint64_t start);

}  // namespace robaxi_tool

#endif
