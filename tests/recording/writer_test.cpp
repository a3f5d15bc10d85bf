#include "recording_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <file_size_limit.h>
#include <filesystem>
#include <random>
#include <recording/check.h>
#include <thread>

namespace recording_test {
namespace {

using recording::Access;
using recording::Compression;
using recording::Reader;
using recording::Writer;
using recording::WriterOptions;

/** A text that takes long to compress. */
std::string slowText(std::size_t size) {
    std::string text(size, '\0');
    std::mt19937 random(1);
    std::generate(text.begin(), text.end(), [&] { return "abcdefgh"[random() % 8]; });
    return text;
}

class WriterCompressions : public testing::TestWithParam<Compression> {};

TEST_P(WriterCompressions, WritesWhatIsReadAgain) {
    WriterOptions options = smallChunks();
    options.fCompression = GetParam();
    const std::string path = pathOf("round.mcap");
    const std::vector<Heard> written = writeSample(path, 500, options);
    for (const Access access : {Access::Indexed, Access::Sequential}) {
        Reader reader(path, access);
        EXPECT_EQ(access == Access::Indexed, reader.isIndexed());
        EXPECT_TRUE(reader.isWhole());
        EXPECT_EQ(written, hear(reader));
        EXPECT_EQ("obvista", reader.header().fLibrary);
        EXPECT_EQ(500U, reader.statistics().fMessageCount);
        EXPECT_EQ(333U, reader.statistics().fMessagesByChannel.at(0));
        EXPECT_EQ(167U, reader.statistics().fMessagesByChannel.at(1));
        EXPECT_EQ(a_start, reader.statistics().fStart);
        EXPECT_EQ(written.back().fLogTime, reader.statistics().fEnd);
        EXPECT_GT(reader.statistics().fChunkCount, 10U);
        ASSERT_EQ(1U, reader.schemas().size());
        EXPECT_EQ("Number", reader.schemas().at(1).fName);
        EXPECT_EQ("jsonschema", reader.schemas().at(1).fEncoding);
        EXPECT_EQ(R"({"type":"object"})", reader.schemas().at(1).fData);
        ASSERT_EQ(2U, reader.channels().size());
        EXPECT_EQ(1U, reader.channels().at(0).fSchemaId);
        EXPECT_EQ("json", reader.channels().at(0).fMessageEncoding);
        EXPECT_EQ("rad", reader.channels().at(0).fMetadata.at("unit"));
        EXPECT_EQ(0U, reader.channels().at(1).fSchemaId);
        ASSERT_EQ(1U, reader.attachments().size());
        const recording::Attachment icon = reader.readAttachment(reader.attachments().front());
        EXPECT_EQ("icon.png", icon.fName);
        EXPECT_EQ("image/png", icon.fMediaType);
        EXPECT_EQ(a_start - 7, icon.fCreateTime);
        EXPECT_EQ(std::string(100, 'p'), icon.fData);
        ASSERT_EQ(1U, reader.metadata().size());
        EXPECT_EQ("robot1.local",
                  reader.readMetadata(reader.metadata().front()).fEntries.at("host"));
    }
    const recording::CheckReport report = recording::check(path);
    EXPECT_EQ(0U, report.fFaultCount) << report.fFaults.front().fText;
    EXPECT_EQ(500U, report.fMessages);
}

INSTANTIATE_TEST_SUITE_P(All, WriterCompressions,
                         testing::Values(Compression::None, Compression::Zstd, Compression::Lz4));

TEST(Writer, WritesAnEmptyRecordingThatIsWhole) {
    const std::string path = pathOf("empty.mcap");
    {
        Writer writer(path);
        writer.addChannel(writer.addSchema("S", "jsonschema", "{}"), "/unused", "json");
        writer.finish();
        writer.finish();
    }
    Reader reader(path);
    EXPECT_TRUE(reader.isIndexed());
    EXPECT_EQ("/unused", reader.channels().at(0).fTopic);
    EXPECT_TRUE(hear(reader).empty());
    EXPECT_EQ(0U, recording::check(path).fFaultCount);
}

TEST(Writer, RefusesAFileThatExists) {
    const std::string path = writeBytes("precious.mcap", "precious");
    EXPECT_EQ("cannot create " + path + ": File exists",
              sentenceOf([&] { const Writer writer(path); }));
    EXPECT_EQ("precious", bytesOf(path));
}

TEST(Writer, RefusesWhatItDoesNotKnow) {
    Writer writer(pathOf("refused.mcap"));
    EXPECT_EQ("a message has an unknown channel", sentenceOf([&] { writer.write({}); }));
    EXPECT_EQ("a channel has an unknown schema",
              sentenceOf([&] { writer.addChannel(1, "/a", "json"); }));
    writer.finish();
    EXPECT_EQ("the recording is finished", sentenceOf([&] { writer.writeMetadata({}); }));
    EXPECT_EQ("the recording is finished", sentenceOf([&] { writer.addSchema("", "", ""); }));
    EXPECT_EQ("the recording is finished", sentenceOf([&] { writer.addChannel(0, "", ""); }));
}

TEST(Writer, MakesTextsOfRobotsValid) {
    const std::string path = pathOf("texts.mcap");
    Writer writer(path);
    writer.addChannel(0, "/\xff", "json", {{"\xfe", "\xfd"}});
    writer.finish();
    const Reader reader(path);
    EXPECT_EQ("/\xEF\xBF\xBD", reader.channels().at(0).fTopic);
    EXPECT_EQ("\xEF\xBF\xBD", reader.channels().at(0).fMetadata.at("\xEF\xBF\xBD"));
}

TEST(Writer, ClosesAChunkByAge) {
    const std::string path = pathOf("age.mcap");
    WriterOptions options;
    options.fChunkAge = std::chrono::milliseconds(50);
    Writer writer(path, options);
    const std::uint16_t channel = writer.addChannel(0, "/a", "json");
    writer.write({channel, 1, 10, 10, "first"});
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (writer.progress().fMessages == 0 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    // As somebody sees the file whose writer was killed.
    Reader reader(path);
    EXPECT_FALSE(reader.isWhole());
    ASSERT_EQ(1U, hear(reader).size());
    EXPECT_EQ("first", hear(reader).front().fData);
}

TEST(Writer, FlushesTheOpenChunk) {
    const std::string path = pathOf("flush.mcap");
    Writer writer(path);
    writer.write({writer.addChannel(0, "/a", "json"), 1, 10, 10, "first"});
    writer.flush();
    EXPECT_EQ(1U, hear(path).size());
    EXPECT_EQ(1U, writer.progress().fMessages);
    EXPECT_EQ(std::filesystem::file_size(path), writer.progress().fFileBytes);
}

TEST(Writer, TakesMessagesOfSeveralThreads) {
    const std::string path = pathOf("threads.mcap");
    constexpr std::uint32_t messages = 5000;
    Writer writer(path, smallChunks());
    std::vector<std::thread> threads;
    for (std::uint64_t number = 0; number < 4; ++number) {
        threads.emplace_back([&writer, number] {
            const std::uint16_t channel =
                writer.addChannel(0, '/' + std::to_string(number), "json");
            for (std::uint32_t i = 0; i < messages; ++i) {
                EXPECT_TRUE(writer.write({channel, i, i * 10 + number, 0, "text"}));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    writer.finish();
    std::map<std::string, std::uint32_t> next;
    std::uint64_t before = 0;
    for (const Heard& heard : hear(path)) {
        EXPECT_EQ(next[heard.fTopic]++, heard.fSequence);
        EXPECT_LE(before, heard.fLogTime);
        before = heard.fLogTime;
    }
    EXPECT_EQ(4U, next.size());
    EXPECT_EQ(messages, next["/3"]);
    EXPECT_EQ(0U, recording::check(path).fFaultCount);
}

TEST(Writer, FlushesWhileMessagesArriveContinuously) {
    WriterOptions options = smallChunks();
    options.fOverwrites = true;
    options.fLevel = 19;
    options.fWaitingBytes = 200'000;
    Writer writer(pathOf("flushed.mcap"), options);
    const std::uint16_t channel = writer.addChannel(0, "/a", "json");
    constexpr std::uint32_t most = 200;
    // Each message is a chunk that takes so long to compress that some always wait.
    const std::string slow = slowText(50'000);
    std::atomic<std::uint32_t> written{0};
    std::atomic<bool> isFlushed{false};
    std::thread thread([&] {
        for (; written < most && !isFlushed; ++written) {
            writer.write({channel, written, written, 0, slow});
        }
    });
    while (written < most / 10) {
        std::this_thread::yield();
    }
    writer.flush();
    isFlushed = true;
    thread.join();
    EXPECT_LT(written, most) << "flush() has waited for the last message";
    EXPECT_GE(writer.progress().fMessages, most / 10);
}

TEST(Writer, WritesTheLargestMessage) {
    const std::string path = pathOf("large_message.mcap");
    const std::string largest(recording::a_largestMessage, 'x');
    const std::string definition(recording::a_largestDefinition - 100, 'y');
    WriterOptions options;
    options.fCompression = Compression::Lz4;
    options.fOverwrites = true;
    Writer writer(path, options);
    const std::uint16_t channel =
        writer.addChannel(writer.addSchema("", "", definition), definition, "");
    writer.write({channel, 0, 1, 1, largest});
    EXPECT_EQ("a message of " + std::to_string(largest.size() + 1) +
                  " bytes is too large for a recording",
              sentenceOf([&] {
                  writer.write({channel, 0, 1, 1, largest + 'x'});
              }));
    writer.finish();
    Reader reader(path);
    recording::Messages messages = reader.messages();
    const auto message = messages.next();
    ASSERT_TRUE(message);
    EXPECT_TRUE(message->fData == largest);
}

TEST(Writer, KeepsTheOrderOfChunksThatTakeDifferentTimes) {
    // Every tenth chunk takes much longer to compress than the following ones.
    const std::string path = pathOf("order.mcap");
    constexpr std::uint32_t messages = 100;
    WriterOptions options = smallChunks();
    options.fLevel = 19;
    {
        Writer writer(path, options);
        const std::uint16_t channel = writer.addChannel(0, "/a", "json");
        const std::string slow = slowText(200'000);
        for (std::uint32_t i = 0; i < messages; ++i) {
            writer.write({channel, i, a_start, i, i % 10 == 0 ? slow : std::string(2000, 'x')});
        }
        writer.finish();
    }
    // Of the same time, messages are read in their order in the file.
    std::uint32_t next = 0;
    for (const Heard& heard : hear(path)) {
        EXPECT_EQ(next++, heard.fSequence);
    }
    EXPECT_EQ(messages, next);
    EXPECT_EQ(0U, recording::check(path).fFaultCount);
}

TEST(Writer, DropsAndCountsWhatTheDiskIsTooSlowFor) {
    // No chunk may wait, so messages are dropped while one is compressed, which takes long here.
    const std::string path = pathOf("drop.mcap");
    WriterOptions options = smallChunks();
    options.fOverflow = recording::Overflow::Drop;
    options.fWaitingBytes = 0;
    options.fLevel = 19;
    std::uint64_t accepted = 0;
    std::uint64_t dropped = 0;
    {
        Writer writer(path, options);
        const std::uint16_t channel = writer.addChannel(0, "/a", "json");
        for (std::uint32_t i = 0; i < 20'000; ++i) {
            ++(writer.write({channel, i, i, i, std::string(300, 'x')}) ? accepted : dropped);
        }
        EXPECT_EQ(dropped, writer.progress().fDropped);
        writer.finish();
        EXPECT_EQ(accepted, writer.progress().fMessages);
    }
    EXPECT_GT(dropped, 0U);
    EXPECT_EQ(accepted, hear(path).size());
}

/** Writes until the file may not grow any more. */
std::vector<Heard> fill(const std::string& path, rlim_t bytes, std::string& sentence) {
    const obvista_test::FileSizeLimit limit(bytes);
    WriterOptions options;
    options.fChunkBytes = 4000;
    options.fCompression = Compression::None;
    Writer writer(path, options);
    const std::uint16_t channel =
        writer.addChannel(writer.addSchema("S", "jsonschema", "{}"), "/a", "json");
    std::vector<Heard> written;
    sentence = sentenceOf([&] {
        for (std::uint32_t i = 0;; ++i) {  // until a thread of the writer has met the limit
            const std::string data(50 + i % 20, 'x');
            written.push_back({"/a", i, a_start + i, i, data});
            writer.write({channel, i, a_start + i, i, data});
        }
    });
    EXPECT_EQ(sentence, writer.error());
    EXPECT_EQ(sentence, sentenceOf([&] { writer.finish(); }));
    EXPECT_EQ("", sentenceOf([&] { writer.finish(); }));
    EXPECT_EQ(std::filesystem::file_size(path), writer.progress().fFileBytes);
    written.resize(writer.progress().fMessages);
    return written;
}

TEST(Writer, LeavesAFileThatOpensWhenTheDiskIsFull) {
    const std::string path = pathOf("full.mcap");
    // With so much space the indexes fit behind the last chunk that did, or they do not.
    bool isAnyWhole = false;
    bool isAnyCutOff = false;
    for (rlim_t bytes = 40'000; bytes < 45'000; bytes += 250) {
        std::filesystem::remove(path);
        std::string sentence;
        const std::vector<Heard> written = fill(path, bytes, sentence);
        EXPECT_EQ("cannot write " + path + ": File too large", sentence);
        ASSERT_GT(written.size(), 50U);
        Reader reader(path);
        EXPECT_EQ(written, hear(reader));
        (reader.isIndexed() ? isAnyWhole : isAnyCutOff) = true;
        if (reader.isIndexed()) {
            EXPECT_EQ(0U, recording::check(path).fFaultCount);
        } else {
            ASSERT_EQ(1U, reader.damages().size());
            EXPECT_NE(std::string::npos,
                      reader.damages().front().fText.find("the recording was not finished"));
        }
    }
    EXPECT_TRUE(isAnyCutOff);
    EXPECT_TRUE(isAnyWhole);
}

TEST(Writer, ReportsADeviceWithoutSpace) {
    WriterOptions options;
    options.fOverwrites = true;
    EXPECT_EQ("cannot write /dev/full: No space left on device",
              sentenceOf([&] { const Writer writer("/dev/full", options); }));
}

TEST(Writer, KeepsTheIndexOfManyChunksOutOfMemory) {
    // 700 chunks with 1000 channels each have an index of 7 MB, more than is kept in memory.
    const std::string path = pathOf("wide.mcap");
    WriterOptions options;
    options.fChunkBytes = std::size_t{64} << 20U;
    constexpr std::uint16_t channels = 1000;
    constexpr std::uint32_t chunks = 700;
    {
        Writer writer(path, options);
        for (std::uint16_t i = 0; i < channels; ++i) {
            writer.addChannel(0, '/' + std::to_string(i), "json");
        }
        for (std::uint32_t chunk = 0; chunk < chunks; ++chunk) {
            for (std::uint16_t channel = 0; channel < channels; ++channel) {
                writer.write({channel, chunk, chunk, chunk, ""});
            }
            writer.flush();
        }
        writer.finish();
    }
    Reader reader(path);
    EXPECT_TRUE(reader.isIndexed());
    EXPECT_EQ(chunks, reader.statistics().fChunkCount);
    recording::Selection selection;
    selection.fFrom = selection.fTo = chunks - 1;
    selection.fChannels = {channels - 1};
    const std::vector<Heard> last = hear(reader, selection);
    ASSERT_EQ(1U, last.size());
    EXPECT_EQ("/999", last.front().fTopic);
    const recording::CheckReport report = recording::check(path);
    EXPECT_EQ(0U, report.fFaultCount) << report.fFaults.front().fText;
}

TEST(Writer, LimitsTheNumberOfDefinitions) {
    Writer writer(pathOf("definitions.mcap"));
    for (int i = 0; i < 65535; ++i) {
        writer.addSchema("S", "", "");
        writer.addChannel(0, "/a", "");
    }
    EXPECT_EQ("a recording cannot have more schemas",
              sentenceOf([&] { writer.addSchema("S", "", ""); }));
    EXPECT_EQ(65535U, writer.addChannel(0, "/a", ""));
    EXPECT_EQ("a recording cannot have more channels",
              sentenceOf([&] { writer.addChannel(0, "/a", ""); }));
    EXPECT_EQ("a schema of 20000032 bytes is too large for a recording",
              sentenceOf([&] { writer.addSchema("", "", std::string(20'000'009, 'x')); }));
}

TEST(Writer, DoesNotMakeWhatItsReaderRefuses) {
    // Compressed, it would be smaller than a reader believes.
    const std::string path = pathOf("black.mcap");
    const std::string black(60'000'000, '\0');
    {
        Writer writer(path);
        writer.write({writer.addChannel(0, "/camera", "rgb"), 0, 1, 1, black});
        writer.finish();
    }
    ASSERT_EQ(1U, hear(path).size());
    EXPECT_TRUE(hear(path).front().fData == black);
}

}  // namespace
}  // namespace recording_test
