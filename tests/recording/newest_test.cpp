// Reader::newestAt(): the same as a straight reading, at any time of any file.
#include "recording_files.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

namespace recording_test {
namespace {

using recording::Access;
using recording::Message;
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

struct Shape {
    const char* fName;
    std::size_t fChunkBytes;
    /** The log time of the n-th message, in order or not. */
    std::uint64_t (*fTime)(std::size_t n, std::mt19937& random);
};

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
    constexpr std::size_t messages = 3000;
    for (std::size_t i = 0; i < messages; ++i) {
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
    for (const Access access : {Access::Indexed, Access::Sequential}) {
        Reader reader(path, access);
        const std::vector<Heard> messages = hear(reader);
        const std::set<std::uint16_t> all = allChannels(reader);
        const recording::Statistics& statistics = reader.statistics();
        std::mt19937_64 random(5);
        std::vector<std::uint64_t> times{0, statistics.fStart - 1, statistics.fStart,
                                         statistics.fEnd, statistics.fEnd + 1};
        const std::size_t count = access == Access::Indexed ? 300 : 20;
        for (std::size_t i = 0; i < count; ++i) {
            times.push_back(i % 2 == 0 ? messages[random() % messages.size()].fLogTime
                                       : statistics.fStart +
                                             random() % (statistics.fEnd - statistics.fStart));
        }
        for (const std::uint64_t time : times) {
            ASSERT_EQ(straight(messages, time), newestAt(reader, time, all)) << time;
        }
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

INSTANTIATE_TEST_SUITE_P(Shapes, NewestOf,
                         ::testing::Values(Shape{"ascending", 600, ascending},
                                           Shape{"equal", 600, equal},
                                           Shape{"nearby", 600, shuffledNearby},
                                           Shape{"anywhere", 600, anywhere},
                                           Shape{"descending", 600, descending},
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
        EXPECT_FALSE(reader.newestAt(
            reader.statistics().fEnd, {0, 1}, [](const Message&) { FAIL(); },
            [] { return false; }));
    }
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
