#ifndef OBVISTA_TESTS_FUZZ_PIECES_H
#define OBVISTA_TESTS_FUZZ_PIECES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace obvista_fuzz {

/**
 * Splits an input into successive messages: each is preceded by its size in two bytes,
 * little-endian. The last one may be truncated.
 */
inline std::vector<std::string> pieces(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t bytesOfLength = 2;
    std::vector<std::string> result;
    while (size >= bytesOfLength) {
        const std::size_t wanted = data[0] + std::size_t{256} * data[1];
        const std::size_t length = std::min(wanted, size - bytesOfLength);
        result.emplace_back(reinterpret_cast<const char*>(data) + bytesOfLength, length);
        data += bytesOfLength + length;
        size -= bytesOfLength + length;
    }
    return result;
}

}  // namespace obvista_fuzz

#endif
