#ifndef OBVISTA_TOOLS_ROBAXI_RECORDING_SPLIT_H
#define OBVISTA_TOOLS_ROBAXI_RECORDING_SPLIT_H

#include <chrono>
#include <cstdint>
#include <string>

namespace robaxi_tool {

/** The limit at which a recording continues in another file. */
struct Split {
    std::uint64_t fBytes = 0;       ///< 0 for none
    std::chrono::seconds fTime{0};  ///< 0 for none

    bool isWanted() const { return fBytes != 0 || fTime.count() != 0; }
};

/**
 * Parses for instance "500MB", "2GB", "30s", "10min" or "1h"; an empty text is no limit.
 *
 * @throws UsageError
 */
Split parseSplit(const std::string& text);

}  // namespace robaxi_tool

#endif
