#include "recording_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <recording/check.h>
#include <recording/repair.h>

namespace recording_test {
namespace {

using recording::Reader;
using recording::repair;
using recording::RepairReport;

std::string fresh(const std::string& name) {
    std::filesystem::remove(pathOf(name));
    return pathOf(name);
}

TEST(Repair, MakesAFileWholeThatWasNotFinished) {
    const std::string path = pathOf("finished.mcap");
    const std::vector<Heard> written = writeSample(path, 300, smallChunks());
    const std::string bytes = bytesOf(path);
    const std::string broken = writeBytes("killed.mcap", bytes.substr(0, bytes.size() / 2));
    const std::vector<Heard> before = hear(broken);
    ASSERT_GT(before.size(), 50U);
    const std::string whole = fresh("repaired.mcap");
    const RepairReport report = repair(broken, whole);
    EXPECT_EQ(before.size(), report.fMessages);
    EXPECT_EQ(1U, report.fMetadata);
    ASSERT_EQ(1U, report.fDamages.size());
    Reader reader(whole);
    EXPECT_TRUE(reader.isIndexed());
    EXPECT_EQ(before, hear(reader));
    EXPECT_TRUE(std::equal(before.begin(), before.end(), written.begin()));
    EXPECT_EQ("rad", reader.channels().at(0).fMetadata.at("unit"));
    EXPECT_EQ("Number", reader.schemas().at(reader.channels().at(0).fSchemaId).fName);
    EXPECT_EQ(0U, recording::check(whole).fFaultCount);
}

TEST(Repair, KeepsWhatIsBehindADamagedChunk) {
    const std::string path = pathOf("tobreak.mcap");
    const std::vector<Heard> written = writeSample(path, 300, smallChunks());
    const std::string bytes = bytesOf(path);
    std::string chunk = bytes;
    const std::size_t second = bytes.find("zstd", bytes.find("zstd") + 4);
    chunk[second + 20] ^= 0x55;
    std::string length = bytes;
    // The highest byte of the chunk's own length: nothing behind it is found by lengths.
    length[second - 4 - 4 - 24 - 1] ^= 0x40;
    for (const std::string& damaged : {chunk, length}) {
        const std::string whole = fresh("rest.mcap");
        const RepairReport report = repair(writeBytes("damaged.mcap", damaged), whole);
        ASSERT_EQ(1U, report.fDamages.size());
        EXPECT_EQ(1U, report.fAttachments);
        const std::vector<Heard> rest = hear(whole);
        EXPECT_GT(rest.size(), 280U);
        EXPECT_LT(rest.size(), 300U);
        EXPECT_EQ(written.front(), rest.front());
        EXPECT_EQ(written.back(), rest.back());
        EXPECT_EQ(0U, recording::check(whole).fFaultCount);
    }
}

TEST(Repair, KeepsAWholeFileAsItIs) {
    const std::string path = pathOf("same.mcap");
    const std::vector<Heard> written = writeSample(path, 300, smallChunks());
    const std::string whole = fresh("copy.mcap");
    EXPECT_TRUE(repair(path, whole).fDamages.empty());
    EXPECT_EQ(written, hear(whole));
}

TEST(Repair, LeavesTheBrokenFileAlone) {
    const std::string path = pathOf("inplace.mcap");
    writeSample(path, 10);
    const std::string before = bytesOf(path);
    recording::WriterOptions options;
    options.fOverwrites = true;
    EXPECT_EQ("cannot repair " + path + " in place: choose another file",
              sentenceOf([&] { repair(path, path, options); }));
    EXPECT_EQ(before, bytesOf(path));
}

}  // namespace
}  // namespace recording_test
