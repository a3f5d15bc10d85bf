#include "recording_files.h"

#include <gtest/gtest.h>

#include <recording/check.h>

namespace recording_test {
namespace {

using recording::check;

TEST(Check, FindsAFlippedBitInEachByte) {
    const std::string path = pathOf("checked.mcap");
    writeSample(path, 12, smallChunks());
    ASSERT_EQ(0U, check(path).fFaultCount);
    const std::string bytes = bytesOf(path);
    for (std::size_t byte = 0; byte < bytes.size(); ++byte) {
        std::string flipped = bytes;
        flipped[byte] = static_cast<char>(flipped[byte] ^ (1 << (byte % 8)));
        const std::string name = writeBytes("flipped.mcap", flipped);
        std::uint64_t faults = 0;
        const std::string sentence = sentenceOf([&] { faults = check(name).fFaultCount; });
        EXPECT_TRUE(faults > 0 || !sentence.empty()) << byte;
    }
}

TEST(Check, NamesWhatIsWrong) {
    const std::string path = pathOf("named.mcap");
    writeSample(path, 100, smallChunks());
    std::string bytes = bytesOf(path);
    const std::size_t chunk = bytes.find("zstd");
    bytes[chunk + 40] ^= 0x01;
    const recording::CheckReport report = check(writeBytes("wrong.mcap", bytes));
    ASSERT_GE(report.fFaults.size(), 2U);
    // 9 of the prefix, three times and sizes, a sum and a length come before the name.
    const std::string place = std::to_string(chunk - 9 - 24 - 4 - 4);
    EXPECT_EQ(0U, report.fFaults.front().fText.find("chunk at byte " + place + " has "))
        << report.fFaults.front().fText;
}

TEST(Check, ReportsThatAFileIsCutOff) {
    const std::string path = pathOf("tocut.mcap");
    writeSample(path, 100, smallChunks());
    const std::string bytes = bytesOf(path);
    const recording::CheckReport report =
        check(writeBytes("cut.mcap", bytes.substr(0, bytes.size() / 2)));
    ASSERT_EQ(1U, report.fFaultCount);
    EXPECT_NE(std::string::npos, report.fFaults.front().fText.find("is cut off"));
    EXPECT_GT(report.fMessages, 0U);
}

}  // namespace
}  // namespace recording_test
