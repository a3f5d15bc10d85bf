#include "frame_stamp.h"

#include <array>
#include <cstddef>
#include <numeric>

namespace obvista_test {

namespace {

constexpr int a_columns = 40;
constexpr int a_rows = 3;
constexpr int a_lightest = 128;  // from here on a block is white
constexpr std::size_t a_numberBytes = 4;
constexpr std::size_t a_stampBytes = 12;

using Bytes = std::array<unsigned char, a_columns * a_rows / 8>;

std::uint64_t bigEndian(const Bytes& bytes, std::size_t from, std::size_t to) {
    return std::accumulate(bytes.begin() + from, bytes.begin() + to, std::uint64_t{0},
                           [](std::uint64_t sum, unsigned char byte) { return sum << 8 | byte; });
}

bool isWhole(const Bytes& bytes) {
    const unsigned sum = std::accumulate(bytes.begin(), bytes.begin() + a_stampBytes, 0U);
    return bytes[a_stampBytes] == sum % 256 && bytes[a_stampBytes + 1] == 0xA5 &&
           bytes[a_stampBytes + 2] == 0x5A;
}

}  // namespace

std::optional<FrameStamp> readFrameStamp(const std::function<int(int x, int y)>& luma, int left,
                                         int top, double width) {
    const double block = width / a_columns;
    Bytes bytes{};
    for (int bit = 0; bit < a_columns * a_rows; ++bit) {
        const int row = bit / a_columns;
        const int x = left + static_cast<int>((bit % a_columns + 0.5) * block);
        const int y = top + static_cast<int>((row + 0.5) * block);
        const unsigned value = luma(x, y) >= a_lightest ? 1 : 0;
        unsigned char& byte = bytes[static_cast<std::size_t>(bit) / 8];
        byte = static_cast<unsigned char>(byte << 1U | value);
    }
    if (!isWhole(bytes)) {
        return std::nullopt;
    }
    return FrameStamp{static_cast<std::uint32_t>(bigEndian(bytes, 0, a_numberBytes)),
                      static_cast<std::int64_t>(bigEndian(bytes, a_numberBytes, a_stampBytes))};
}

}  // namespace obvista_test
