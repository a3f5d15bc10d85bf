#ifndef OBVISTA_TESTS_RECORDING_LARGE_FILE_H
#define OBVISTA_TESTS_RECORDING_LARGE_FILE_H

#include <cstdint>
#include <string>
#include <vector>

namespace recording_test {

constexpr std::uint64_t a_largeFileChunks = 250'000;

/**
 * Writes a sparse file of 16 GB with the indexes of very many chunks, which have one message each.
 *
 * @param chunks the only ones that are in the file
 * @return its path
 */
std::string writeLargeFile(const std::vector<std::uint64_t>& chunks);

}  // namespace recording_test

#endif
