#include "recording_files.h"

#include <gtest/gtest.h>

#include <recording/check.h>
#include <recording/writer.h>

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

TEST(Check, DoesNotAccuseTheChunkBeforeADamagedOne) {
    const std::string path = pathOf("two.mcap");
    {
        recording::WriterOptions options;
        options.fCompression = recording::Compression::None;
        options.fOverwrites = true;
        recording::Writer writer(path, options);
        const std::uint16_t channel = writer.addChannel(0, "/a", "json");
        writer.write({channel, 0, 1, 1, "first"});
        writer.flush();
        writer.write({channel, 0, 2, 2, "second"});
        writer.write({channel, 0, 3, 3, "third"});
        writer.finish();
    }
    // The last message becomes a record that may not be in a chunk, and the chunk has no checksum.
    constexpr std::size_t messageHead = 31;
    constexpr std::size_t chunkHead = 49;
    constexpr std::size_t crc = 33;
    std::string bytes = bytesOf(path);
    const std::size_t chunk = bytes.find("second") - messageHead - chunkHead;
    bytes.replace(chunk + crc, 4, 4, '\0');
    bytes[bytes.find("third") - messageHead] = '\x06';
    const recording::CheckReport report = check(writeBytes("second.mcap", bytes));
    ASSERT_FALSE(report.fFaults.empty());
    EXPECT_EQ(chunk, report.fFaults.front().fOffset) << report.fFaults.front().fText;
    for (const recording::Damage& fault : report.fFaults) {
        EXPECT_GE(fault.fOffset, chunk) << fault.fText;
    }
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
