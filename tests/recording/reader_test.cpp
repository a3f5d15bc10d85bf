#include "recording_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace recording_test {
namespace {

using recording::Access;
using recording::Order;
using recording::Reader;
using recording::Selection;
using recording::Writer;

/** Messages in random order of times, several of which are equal. */
std::vector<Heard> writeShuffled(const std::string& path) {
    recording::WriterOptions options = smallChunks();
    options.fOverwrites = true;
    Writer writer(path, options);
    std::vector<std::uint16_t> channels;
    for (int i = 0; i < 5; ++i) {
        channels.push_back(writer.addChannel(0, '/' + std::to_string(i), "json"));
    }
    std::mt19937 random;
    std::vector<Heard> written;
    for (std::uint32_t i = 0; i < 2000; ++i) {
        const std::uint16_t channel = static_cast<std::uint16_t>(random() % 5);
        const std::uint64_t time = 1000 + i / 4 + random() % 50;
        written.push_back({'/' + std::to_string(channel), i, time, i, std::to_string(i)});
        writer.write({channels[channel], i, time, i, std::to_string(i)});
    }
    writer.finish();
    return written;
}

bool isEarlier(const Heard& left, const Heard& right) {
    return left.fLogTime < right.fLogTime;
}

TEST(Reader, SortsMessagesByLogTime) {
    const std::string path = pathOf("shuffled.mcap");
    std::vector<Heard> written = writeShuffled(path);
    Reader reader(path);
    Selection inFileOrder;
    inFileOrder.fOrder = Order::File;
    EXPECT_EQ(written, hear(reader, inFileOrder));
    std::stable_sort(written.begin(), written.end(), isEarlier);
    EXPECT_EQ(written, hear(reader));
    EXPECT_EQ(written, hear(path, Access::Sequential));
}

TEST(Reader, SelectsTimesAndChannels) {
    const std::string path = pathOf("selected.mcap");
    std::vector<Heard> written = writeShuffled(path);
    std::stable_sort(written.begin(), written.end(), isEarlier);
    for (const Access access : {Access::Indexed, Access::Sequential}) {
        Reader reader(path, access);
        std::mt19937 random;
        for (int i = 0; i < 100; ++i) {
            Selection selection;
            selection.fFrom = 990 + random() % 600;
            selection.fTo = selection.fFrom + random() % 100;
            if (i % 2 == 0) {
                selection.fChannels = {static_cast<std::uint16_t>(random() % 5), 4};
            }
            std::vector<Heard> expected;
            std::copy_if(
                written.begin(), written.end(), std::back_inserter(expected),
                [&](const Heard& heard) {
                    const auto channel =
                        static_cast<std::uint16_t>(std::stoi(heard.fTopic.substr(1)));
                    return heard.fLogTime >= selection.fFrom && heard.fLogTime <= selection.fTo &&
                           (!selection.fChannels || selection.fChannels->count(channel) != 0);
                });
            EXPECT_EQ(expected, hear(reader, selection));
        }
    }
}

TEST(Reader, ReadsOnlyTheChunksItNeeds) {
    const std::string path = pathOf("needed.mcap");
    const std::vector<Heard> written = writeSample(path, 500, smallChunks());
    std::string bytes = bytesOf(path);
    // Damages the first chunk.
    bytes[bytes.find("zstd") + 20] ^= 0x55;
    Reader reader(writeBytes("damaged.mcap", bytes));
    EXPECT_TRUE(reader.isIndexed());
    Selection selection;
    selection.fFrom = written[100].fLogTime;
    EXPECT_EQ(std::vector<Heard>(written.begin() + 100, written.end()), hear(reader, selection));
    const std::string sentence = sentenceOf([&] { hear(reader); });
    EXPECT_EQ(0U, sentence.find("chunk at byte ")) << sentence;
}

TEST(Reader, SkipsUnknownRecords) {
    const std::string path = pathOf("known.mcap");
    const std::vector<Heard> written = writeSample(path, 50, smallChunks());
    std::string bytes = bytesOf(path);
    const std::string unknown = std::string("\x80\x03\0\0\0\0\0\0\0abc", 12);
    // Behind magic and header, where the sum of the data does not matter to a reader.
    const std::size_t header = 8 + 9 + static_cast<unsigned char>(bytes[9]);
    const std::string cut = bytes.substr(0, header) + unknown + bytes.substr(header);
    const std::string changed = writeBytes("unknown.mcap", cut);
    // The indexes point elsewhere now.
    Reader reader(changed, Access::Sequential);
    EXPECT_EQ(written, hear(reader));
    EXPECT_TRUE(reader.isWhole());
}

TEST(Reader, RefusesWhatIsNotARecording) {
    EXPECT_EQ("cannot open /nowhere/a.mcap: No such file or directory",
              sentenceOf([] { const Reader reader("/nowhere/a.mcap"); }));
    EXPECT_EQ("cannot open /dev/zero: not a regular file",
              sentenceOf([] { const Reader reader("/dev/zero"); }));
    for (const std::string_view text : {"", "Hello", "No recording at all, but a text."}) {
        const std::string path = writeBytes("text.mcap", text);
        EXPECT_EQ(path + " is not an MCAP file", sentenceOf([&] { const Reader reader(path); }));
    }
}

TEST(Reader, ReadsAFileThatIsCutOffAnywhere) {
    const std::string path = pathOf("whole.mcap");
    const std::vector<Heard> written = writeSample(path, 40, smallChunks());
    const std::string bytes = bytesOf(path);
    std::size_t most = 0;
    for (std::size_t size = 8; size < bytes.size(); ++size) {
        const std::string cut = writeBytes("cut.mcap", bytes.substr(0, size));
        Reader reader(cut);
        ASSERT_FALSE(reader.isIndexed()) << size;
        ASSERT_FALSE(reader.isWhole()) << size;
        ASSERT_EQ(1U, reader.damages().size()) << size;
        const std::vector<Heard> heard = hear(reader);
        ASSERT_GE(heard.size(), most) << size;
        ASSERT_EQ(heard.size(), reader.statistics().fMessageCount);
        ASSERT_TRUE(std::equal(heard.begin(), heard.end(), written.begin())) << size;
        most = heard.size();
    }
    EXPECT_EQ(written.size(), most);
}

TEST(Reader, ReturnsTheTruthOrASentenceForAFlippedBitInEachByte) {
    const std::string path = pathOf("sound.mcap");
    const std::vector<Heard> written = writeSample(path, 12, smallChunks());
    const std::string bytes = bytesOf(path);
    std::size_t refused = 0;
    for (std::size_t byte = 0; byte < bytes.size(); ++byte) {
        std::string flipped = bytes;
        flipped[byte] = static_cast<char>(flipped[byte] ^ (1 << (byte % 8)));
        const std::string sentence = sentenceOf([&] {
            // A name may be wrong, which nothing but the summary's checksum tells; no message.
            for (const Heard& heard : hear(writeBytes("flipped.mcap", flipped))) {
                ASSERT_LT(heard.fSequence, written.size());
                EXPECT_EQ(written[heard.fSequence].fData, heard.fData) << byte;
                EXPECT_EQ(written[heard.fSequence].fLogTime, heard.fLogTime) << byte;
            }
        });
        refused += sentence.empty() ? 0 : 1;
    }
    EXPECT_GT(refused, 0U);
}

}  // namespace
}  // namespace recording_test
