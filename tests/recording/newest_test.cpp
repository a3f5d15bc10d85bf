// Reader::newestAt() and timesBefore(): the same as a straight reading, at any time of any file.
#include "compression.h"
#include "fields.h"
#include "recording_files.h"
#include "scanner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace recording_test {
namespace {

using recording::Access;
using recording::Message;
using recording::Opcode;
using recording::putNumber;
using recording::Reader;
using recording::Writer;
using recording::WriterOptions;

using Newest = std::vector<Heard>;

std::set<std::uint16_t> allChannels(const Reader& reader) {
    std::set<std::uint16_t> channels;
    for (const auto& [id, channel] : reader.channels()) {
        channels.insert(id);
    }
    return channels;
}

Heard heardFrom(const Reader& reader, const Message& message) {
    return {reader.channels().at(message.fChannelId).fTopic, message.fSequence, message.fLogTime,
            message.fPublishTime, std::string(message.fData)};
}

Newest newestAt(Reader& reader, std::uint64_t time, const std::set<std::uint16_t>& channels) {
    Newest newest;
    EXPECT_TRUE(reader.newestAt(time, channels, [&](const Message& message) {
        newest.push_back(heardFrom(reader, message));
    }));
    return newest;
}

/** The newest message of each channel after a straight reading up to a time. */
Newest straight(const std::vector<Heard>& messages, std::uint64_t time) {
    std::map<std::string, std::size_t> last;
    for (std::size_t i = 0; i < messages.size(); ++i) {
        if (messages[i].fLogTime <= time) {
            last[messages[i].fTopic] = i;
        }
    }
    std::map<std::size_t, Heard> inOrder;
    for (const auto& [topic, index] : last) {
        inOrder.emplace(index, messages[index]);
    }
    Newest newest;
    for (const auto& [index, heard] : inOrder) {
        newest.push_back(heard);
    }
    return newest;
}

/** The times that a straight reading has before a time, the latest ones first. */
std::vector<std::uint64_t> straightTimes(const std::vector<Heard>& messages, std::uint64_t before,
                                         std::size_t count) {
    std::vector<std::uint64_t> times;
    for (auto heard = messages.rbegin(); heard != messages.rend() && times.size() < count;
         ++heard) {
        if (heard->fLogTime < before && (times.empty() || times.back() != heard->fLogTime)) {
            times.push_back(heard->fLogTime);
        }
    }
    return times;
}

/** Copies a file with a chunk index that has no lists of channels for every n-th chunk. */
std::string withoutLists(const std::string& path, const std::string& name, std::size_t n = 1) {
    const recording::InputFile file(path);
    const recording::Footer footer = recording::readFooter(file);
    std::string bytes = bytesOf(path).substr(0, footer.fSummaryStart);
    recording::Scanner scanner(file, footer.fSummaryStart, footer.fSummaryEnd);
    std::size_t chunks = 0;
    while (const std::optional<recording::OuterRecord> record = scanner.next()) {
        if (record->fOpcode != Opcode::ChunkIndex || ++chunks % n != 0) {
            bytes += file.view(record->fOffset, static_cast<std::size_t>(record->fLength));
            continue;
        }
        const recording::ChunkIndex index = readChunkIndex(fieldsOf(file, *record));
        const recording::RecordAppender copy(bytes, Opcode::ChunkIndex);
        putNumber(bytes, index.fStart);
        putNumber(bytes, index.fEnd);
        putNumber(bytes, index.fOffset);
        putNumber(bytes, index.fLength);
        putNumber(bytes, std::uint32_t{0});
        putNumber(bytes, index.fMessageIndexLength);
        recording::putSized<std::uint32_t>(bytes, index.fCompression);
        putNumber(bytes, index.fCompressedSize);
        putNumber(bytes, index.fUncompressedSize);
    }
    {
        const recording::RecordAppender end(bytes, Opcode::Footer);
        putNumber(bytes, footer.fSummaryStart);
        putNumber(bytes, std::uint64_t{0});
        putNumber(bytes, std::uint32_t{0});
    }
    return writeBytes(name, bytes += recording::a_magic);
}

void putMessage(std::string& bytes, const Message& message) {
    const recording::RecordAppender record(bytes, Opcode::Message);
    putNumber(bytes, message.fChannelId);
    putNumber(bytes, message.fSequence);
    putNumber(bytes, message.fLogTime);
    putNumber(bytes, message.fPublishTime);
    bytes += message.fData;
}

/** Copies the messages of a file to one that has no chunks and was not finished. */
std::string withoutChunks(const std::string& path, const std::string& name) {
    Reader reader(path);
    std::string bytes(recording::a_magic);
    recording::putRecord(bytes, reader.header());
    for (const auto& [id, channel] : reader.channels()) {
        recording::putRecord(bytes, channel);
    }
    recording::Selection all;
    all.fOrder = recording::Order::File;
    recording::Messages messages = reader.messages(all);
    while (const std::optional<Message> message = messages.next()) {
        putMessage(bytes, *message);
        constexpr std::uint32_t messagesOfRun = 20;
        if (message->fSequence % messagesOfRun == 0) {
            recording::putRecord(bytes, recording::Metadata{"between two runs of messages", {}});
        }
    }
    return writeBytes(name, bytes);
}

struct Shape {
    const char* fName;
    std::size_t fChunkBytes;
    /** The log time of the n-th message, in order or not. */
    std::uint64_t (*fTime)(std::size_t n, std::mt19937& random);
};

constexpr std::size_t a_messages = 3000;

/** Some channels have a message in every chunk, some a few in the file, and one has none. */
std::string writeShape(const Shape& shape) {
    WriterOptions options;
    options.fChunkBytes = shape.fChunkBytes;
    options.fOverwrites = true;
    const std::string path = pathOf(std::string(shape.fName) + ".mcap");
    Writer writer(path, options);
    constexpr std::uint16_t channels = 30;
    for (std::uint16_t i = 0; i <= channels; ++i) {
        writer.addChannel(0, "/topic" + std::to_string(i), "json");
    }
    std::mt19937 random(7);
    for (std::size_t i = 0; i < a_messages; ++i) {
        // The channel with the number n is about twice as rare as the one before.
        std::uint16_t channel = 0;
        while (channel + 1 < channels && random() % 3 != 0) {
            ++channel;
        }
        const std::uint64_t time = a_start + shape.fTime(i, random);
        writer.write({channel, static_cast<std::uint32_t>(i), time, time,
                      "{\"i\":" + std::to_string(i) + '}'});
    }
    writer.finish();
    return path;
}

class NewestOf : public ::testing::TestWithParam<Shape> {};

TEST_P(NewestOf, IsThatOfAStraightReading) {
    const std::string path = writeShape(GetParam());
    const std::vector<std::pair<std::string, Access>> files{
        {path, Access::Indexed},
        {path, Access::Sequential},
        {withoutLists(path, "no_lists.mcap"), Access::Indexed},
        {withoutLists(path, "some_lists.mcap", 3), Access::Indexed},
        {withoutChunks(path, "no_chunks.mcap"), Access::Indexed},
    };
    for (const auto& [name, access] : files) {
        SCOPED_TRACE(name);
        Reader reader(name, access);
        const std::vector<Heard> messages = hear(reader);
        ASSERT_EQ(a_messages, messages.size());
        const std::set<std::uint16_t> all = allChannels(reader);
        recording::Selection ofOne;
        ofOne.fChannels = {std::uint16_t{12}};
        const std::vector<Heard> rare = hear(reader, ofOne);
        ASSERT_FALSE(rare.empty());
        const recording::Statistics& statistics = reader.statistics();
        std::mt19937_64 random(5);
        std::vector<std::uint64_t> times{0, statistics.fStart - 1, statistics.fStart,
                                         statistics.fEnd, statistics.fEnd + 1};
        for (std::size_t i = 0; i < 40; ++i) {
            times.push_back(i % 2 == 0 ? messages[random() % messages.size()].fLogTime
                                       : statistics.fStart +
                                             random() % (statistics.fEnd - statistics.fStart));
        }
        for (const std::uint64_t time : times) {
            ASSERT_EQ(straight(messages, time), newestAt(reader, time, all)) << time;
            const std::size_t count = random() % 3 == 0 ? 200 : 3;
            ASSERT_EQ(straightTimes(messages, time, count), reader.timesBefore(time, all, count));
            ASSERT_EQ(straightTimes(rare, time, count),
                      reader.timesBefore(time, *ofOne.fChannels, count));
        }
        EXPECT_TRUE(reader.timesBefore(statistics.fEnd, all, 0).empty());
    }
}

std::uint64_t ascending(std::size_t n, std::mt19937& /*random*/) {
    return n * 1000;
}
/** Many messages with the same time, also over the borders of chunks. */
std::uint64_t equal(std::size_t n, std::mt19937& /*random*/) {
    return n / 40 * 1000;
}
std::uint64_t shuffledNearby(std::size_t n, std::mt19937& random) {
    return n * 1000 + random() % 100'000;
}
std::uint64_t anywhere(std::size_t /*n*/, std::mt19937& random) {
    return random() % 3'000'000;
}
std::uint64_t descending(std::size_t n, std::mt19937& /*random*/) {
    return (3000 - n) * 1000;
}
/** The newest of messages with the same time is in the chunk with the earlier start. */
std::uint64_t descendingEqual(std::size_t n, std::mt19937& /*random*/) {
    return (3000 - n) / 40 * 1000;
}

INSTANTIATE_TEST_SUITE_P(Shapes, NewestOf,
                         ::testing::Values(Shape{"ascending", 600, ascending},
                                           Shape{"equal", 600, equal},
                                           Shape{"nearby", 600, shuffledNearby},
                                           Shape{"anywhere", 600, anywhere},
                                           Shape{"descending", 600, descending},
                                           Shape{"descending_equal", 600, descendingEqual},
                                           Shape{"one_chunk", 1'000'000, shuffledNearby}),
                         [](const auto& shape) { return std::string(shape.param.fName); });

TEST(Newest, OnlyOfTheChannelsAskedFor) {
    const std::string path = pathOf("some.mcap");
    const std::vector<Heard> messages = writeSample(path, 500, smallChunks());
    Reader reader(path);
    const Newest newest = newestAt(reader, reader.statistics().fEnd, {1});
    ASSERT_EQ(1U, newest.size());
    EXPECT_EQ("/robot1/memory/Text", newest[0].fTopic);
    EXPECT_EQ(498U, newest[0].fSequence);
}

TEST(Newest, EndsWhenItIsToldTo) {
    const std::string path = pathOf("ended.mcap");
    writeSample(path, 500, smallChunks());
    for (const Access access : {Access::Indexed, Access::Sequential}) {
        Reader reader(path, access);
        const auto end = [] { return false; };
        EXPECT_FALSE(reader.newestAt(
            reader.statistics().fEnd, {0, 1}, [](const Message&) { FAIL(); }, end));
        EXPECT_TRUE(reader.timesBefore(reader.statistics().fEnd, {0, 1}, 3, end).empty());
        recording::Selection none;
        none.fGoOn = end;
        EXPECT_TRUE(hear(reader, none).empty());
    }
}

/** Counts the chunks that are read. */
class Reads {
  public:
    std::function<bool()> counter() {
        fCount = 0;
        return [this] {
            ++fCount;
            return true;
        };
    }
    int count() const { return fCount; }

  private:
    int fCount = 0;
};

TEST(Newest, ReadsOnlyTheChunksThatItNeeds) {
    // A hundred chunks with a message each, and the first one with that of another channel.
    const std::string path = pathOf("rare.mcap");
    WriterOptions options;
    options.fOverwrites = true;
    Writer writer(path, options);
    const std::uint16_t frequent = writer.addChannel(0, "/frequent", "json");
    const std::uint16_t rare = writer.addChannel(0, "/rare", "json");
    writer.write({rare, 0, a_start, a_start, "rare"});
    constexpr int chunks = 100;
    for (std::uint32_t i = 0; i < chunks; ++i) {
        writer.write({frequent, i, a_start + i, a_start + i, "frequent"});
        writer.flush();
    }
    writer.finish();
    const std::string noLists = withoutLists(path, "rare_no_lists.mcap");
    for (const auto& [name, access, ofRare] : std::vector<std::tuple<std::string, Access, int>>{
             {path, Access::Indexed, 1},
             {path, Access::Sequential, 1},
             {noLists, Access::Indexed, chunks},
         }) {
        SCOPED_TRACE(name);
        Reader reader(name, access);
        Reads reads;
        const auto ignore = [](const Message&) {};
        const std::uint64_t end = reader.statistics().fEnd;
        EXPECT_TRUE(reader.newestAt(end, {frequent}, ignore, reads.counter()));
        EXPECT_EQ(1, reads.count());
        EXPECT_TRUE(reader.newestAt(end, {frequent, rare}, ignore, reads.counter()));
        EXPECT_EQ(ofRare, reads.count());
        EXPECT_TRUE(reader.newestAt(end, {frequent, rare}, ignore, reads.counter()));
        EXPECT_EQ(0, reads.count());
        EXPECT_EQ(10U, reader.timesBefore(end + 1, {frequent}, 10, reads.counter()).size());
        EXPECT_EQ(10, reads.count());
        EXPECT_EQ(1U, reader.timesBefore(end + 1, {rare}, 10, reads.counter()).size());
        EXPECT_EQ(ofRare, reads.count());
    }
}

/** Appends a compressed chunk. */
void putChunk(std::string& bytes, std::uint64_t start, std::uint64_t end,
              const std::string& records) {
    recording::Compressor compressor(recording::Compression::Zstd, 1);
    const recording::Compressor::Result data = compressor.compress(records);
    const recording::RecordAppender chunk(bytes, Opcode::Chunk);
    putNumber(bytes, start);
    putNumber(bytes, end);
    putNumber(bytes, std::uint64_t{records.size()});
    putNumber(bytes, std::uint32_t{0});
    recording::putSized<std::uint32_t>(bytes, nameOf(data.fCompression));
    recording::putSized<std::uint64_t>(bytes, data.fBytes);
}

TEST(Newest, IsFoundInManyBytesOfChunksThatOverlap) {
    // Ten chunks of 60 MB. The message of one channel is at its beginning, and the other channel
    // has one at the end of all.
    constexpr std::uint64_t chunks = 10;
    constexpr std::uint64_t last = 100;
    std::string data(60'000'000, 'x');
    std::mt19937 random(1);
    std::generate_n(data.begin(), 100'000, [&] { return static_cast<char>(random()); });
    std::string bytes(recording::a_magic);
    recording::putRecord(bytes, recording::Channel{1, 0, "/a", "", {}});
    recording::putRecord(bytes, recording::Channel{2, 0, "/b", "", {}});
    for (std::uint64_t time = 1; time <= chunks; ++time) {
        std::string records;
        putMessage(records, {1, 0, time, 0, ""});
        putMessage(records, {1, 0, last, 0, ""});
        putMessage(records, {2, 0, last, 0, data});
        putChunk(bytes, time, last, records);
    }
    Reader reader(writeBytes("overlap.mcap", bytes));
    EXPECT_EQ(chunks, reader.statistics().fChunkCount);
    std::uint64_t found = 0;
    reader.newestAt(last - 1, {1}, [&](const Message& message) { found = message.fLogTime; });
    EXPECT_EQ(chunks, found);
    EXPECT_EQ((std::vector<std::uint64_t>{chunks, chunks - 1}), reader.timesBefore(last, {1}, 2));
}

TEST(Newest, IsFoundBehindTheListsThatFitIntoMemory) {
    // A scan lists 8 million channels of chunks, which is reached within the 129th chunk.
    constexpr std::uint64_t chunks = 131;
    constexpr std::uint16_t first = 65535;   // only in the first chunk
    constexpr std::uint16_t middle = 65534;  // not in the last two
    std::string bytes(recording::a_magic);
    std::string records;
    for (std::uint32_t channel = 0; channel <= first; ++channel) {
        const auto id = static_cast<std::uint16_t>(channel);
        recording::putRecord(bytes, recording::Channel{id, 0, "/a", "", {}});
        putMessage(records, {id, 0, 0, 0, ""});
    }
    for (std::uint64_t time = 1; time <= chunks; ++time) {
        constexpr std::size_t timeOffset = 15;
        const std::size_t channels = time == 1 ? 65536U : time <= 129 ? 65535U : 65534U;
        records.resize(channels * recording::a_messageHeadSize);
        for (std::size_t i = 0; i < channels; ++i) {
            recording::setNumber(records, i * recording::a_messageHeadSize + timeOffset, time);
        }
        putChunk(bytes, time, time, records);
    }
    Reader reader(writeBytes("many_lists.mcap", bytes));
    Reads reads;
    std::map<std::uint16_t, std::uint64_t> found;
    reader.newestAt(
        chunks, {0, middle, first},
        [&](const Message& message) { found[message.fChannelId] = message.fLogTime; },
        reads.counter());
    EXPECT_EQ((std::map<std::uint16_t, std::uint64_t>{{0, chunks}, {middle, 129}, {first, 1}}),
              found);
    EXPECT_EQ(4, reads.count());
}

TEST(Newest, RefusesADamagedChunk) {
    const std::string path = pathOf("damaged.mcap");
    writeSample(path, 5, smallChunks());
    std::string bytes = bytesOf(path);
    const std::size_t place = bytes.find("(\xB5\x2F\xFD");  // where zstd's data begins
    ASSERT_NE(std::string::npos, place);
    bytes[place + 12] = static_cast<char>(bytes[place + 12] ^ 0x55);
    Reader reader(writeBytes("damaged.mcap", bytes));
    const std::string sentence = sentenceOf([&] {
        reader.newestAt(reader.statistics().fEnd, {0, 1}, [](const Message&) {});
    });
    EXPECT_NE(std::string::npos, sentence.find("chunk at byte")) << sentence;
}

}  // namespace
}  // namespace recording_test
