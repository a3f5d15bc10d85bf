#include "video/stamp.h"

#include <array>
#include <numeric>

namespace robot {

namespace {

constexpr int a_columns = 40;
constexpr int a_rows = 3;
constexpr std::size_t a_stampBytes = 12;

using Bytes = std::array<std::uint8_t, a_columns * a_rows / 8>;

Bytes stampBytes(std::uint64_t number, std::int64_t time) {
    Bytes bytes{};
    const auto low = static_cast<std::uint32_t>(number);
    const auto instant = static_cast<std::uint64_t>(time);
    for (unsigned i = 0; i < 4; ++i) {
        bytes[i] = static_cast<std::uint8_t>(low >> (24 - 8 * i));
    }
    for (unsigned i = 0; i < 8; ++i) {
        bytes[4 + i] = static_cast<std::uint8_t>(instant >> (56 - 8 * i));
    }
    bytes[a_stampBytes] =
        static_cast<std::uint8_t>(std::accumulate(bytes.begin(), bytes.begin() + a_stampBytes, 0U));
    bytes[a_stampBytes + 1] = 0xA5;
    bytes[a_stampBytes + 2] = 0x5A;
    return bytes;
}

}  // namespace

void drawStamp(Canvas& canvas, std::uint64_t number, std::int64_t time) {
    const double block = static_cast<double>(canvas.width()) / a_columns;
    const Bytes bytes = stampBytes(number, time);
    for (unsigned bit = 0; bit < a_columns * a_rows; ++bit) {
        const bool white = (bytes[bit / 8] >> (7 - bit % 8) & 1U) != 0;
        const unsigned row = bit / a_columns;
        const double left = bit % a_columns * block;
        const double top = row * block;
        canvas.fillRectangle(left, top, left + block, top + block, white ? a_white : a_black);
    }
}

}  // namespace robot
