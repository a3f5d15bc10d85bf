#ifndef RECORDING_REPAIR_H
#define RECORDING_REPAIR_H

#include <cstdint>
#include <recording/reader.h>
#include <recording/writer.h>
#include <string>
#include <vector>

namespace recording {

struct RepairReport {
    std::uint64_t fMessages = 0;  ///< in the repaired file
    std::uint64_t fAttachments = 0;
    std::uint64_t fMetadata = 0;
    std::vector<Damage> fDamages{};  ///< parts that were left out, the first 100
};

/**
 * Writes a whole recording with everything that can be read from a broken one. Channels and schemas
 * may get other numbers.
 *
 * @throw RecordingError if the broken file is not MCAP, or the other one exists or cannot be
 * written
 */
RepairReport repair(const std::string& broken, const std::string& repaired,
                    const WriterOptions& options = {});

}  // namespace recording

#endif
