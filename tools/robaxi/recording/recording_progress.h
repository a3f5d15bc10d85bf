#ifndef OBVISTA_TOOLS_ROBAXI_RECORDING_RECORDING_PROGRESS_H
#define OBVISTA_TOOLS_ROBAXI_RECORDING_RECORDING_PROGRESS_H

#include <cstdint>
#include <string>
#include <vector>

namespace robaxi_tool {

/** A snapshot of a recording, for the user. */
struct RecordingProgress {
    double fSeconds = 0;       ///< since its beginning
    std::uint64_t fBytes = 0;  ///< in all its files
    std::uint64_t fValues = 0;
    std::uint64_t fFrames = 0;
    std::uint64_t fPassedOver = 0;    ///< values that newer ones replaced before they were sent
    std::uint64_t fDropped = 0;       ///< messages that were not written
    std::uint64_t fMissedFrames = 0;  ///< frames that did not arrive
    std::uint64_t fFreeBytes = 0;     ///< of the disk
    std::vector<std::string> fLost;   ///< robots without connection
};

/** @name One line; safe for a terminal
 *  @param before an earlier snapshot, for the rates */
///@{
std::string textOfProgress(const RecordingProgress& progress, const RecordingProgress& before);
std::string jsonOfProgress(const RecordingProgress& progress);
///@}

/** Returns the line at the end of a recording, for instance "12.3 MB in 60.0 s: 6000 values, ..."
 */
std::string summaryOf(const RecordingProgress& progress);

}  // namespace robaxi_tool

#endif
