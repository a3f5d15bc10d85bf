#ifndef RECORDING_CHECK_H
#define RECORDING_CHECK_H

#include <cstdint>
#include <recording/reader.h>
#include <string>
#include <vector>

namespace recording {

struct CheckReport {
    std::uint64_t fMessages = 0;
    std::uint64_t fChunks = 0;
    std::uint64_t fChecksums = 0;  ///< verified, right and wrong ones
    std::uint64_t fFaultCount = 0;
    std::vector<Damage> fFaults{};  ///< the first 100
};

/**
 * Reads a whole recording and verifies every checksum, every index and the statistics.
 *
 * @throw RecordingError for a file that cannot be opened or is not MCAP
 */
CheckReport check(const std::string& path);

}  // namespace recording

#endif
