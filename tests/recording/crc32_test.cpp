#include "crc32.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <zlib.h>

namespace recording_test {
namespace {

std::uint32_t expected(std::string_view bytes, std::uint32_t before) {
    return static_cast<std::uint32_t>(
        crc32_z(before, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
}

std::string randomBytes(std::size_t count) {
    std::mt19937 random(1);
    std::string bytes(count, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random());
    }
    return bytes;
}

TEST(Crc32, IsThatOfTheFormat) {
    EXPECT_EQ(0U, recording::crc32Of(""));
    EXPECT_EQ(0xCBF43926U, recording::crc32Of("123456789"));
}

TEST(Crc32, IsThatOfZlibForEverySizeAndPlace) {
    const std::string bytes = randomBytes(1000);
    for (std::size_t start = 0; start < 20; ++start) {
        for (std::size_t size = 0; size <= 500; ++size) {
            const std::string_view part = std::string_view(bytes).substr(start, size);
            ASSERT_EQ(expected(part, 0), recording::crc32Of(part)) << start << ' ' << size;
        }
    }
}

TEST(Crc32, ContinuesWithWhatCameBefore) {
    const std::string bytes = randomBytes(100'000);
    const std::string_view all = bytes;
    std::uint32_t crc = 0;
    for (std::size_t start = 0, size = 1; start < all.size();
         start += size, size = size * 3 % 701) {
        crc = recording::crc32Of(all.substr(start, size), crc);
    }
    EXPECT_EQ(expected(all, 0), crc);
    EXPECT_EQ(crc, recording::crc32Of(all));
}

}  // namespace
}  // namespace recording_test
