#ifndef RECORDING_LATEST_TIMES_H
#define RECORDING_LATEST_TIMES_H

#include "chunk_store.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>
#include <vector>

namespace recording {

/** See Reader::timesBefore(). */
std::vector<std::uint64_t> latestTimes(ChunkStore& store, std::uint64_t before,
                                       const std::set<std::uint16_t>& channels, std::size_t count,
                                       const std::function<bool()>& goOn);

}  // namespace recording

#endif
