#ifndef OBVISTA_TESTS_FUZZ_PIECES_H
#define OBVISTA_TESTS_FUZZ_PIECES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace obvista_fuzz {

/**
 * Cuts an input into the messages that arrive one after the other: each stands behind its number of
 * bytes, two bytes with the low one first. The last one may be cut off.
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
