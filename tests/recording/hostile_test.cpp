#include "compression.h"
#include "fields.h"
#include "recording_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <recording/check.h>
#include <zlib.h>

namespace recording_test {
namespace {

using recording::Opcode;
using recording::putNumber;
using recording::putSized;
using recording::Reader;

/** A file that lies, made of records. */
class Liar {
  public:
    Liar() { recording::putRecord(fBytes, recording::Header{}); }

    std::uint64_t position() const { return fBytes.size(); }

    void record(Opcode opcode, const std::string& content) {
        putNumber(fBytes, static_cast<std::uint8_t>(opcode));
        putSized<std::uint64_t>(fBytes, content);
    }

    static std::string message(std::uint64_t time, const std::string& data = "data") {
        std::string record;
        putNumber(record, static_cast<std::uint8_t>(Opcode::Message));
        putNumber(record, std::uint64_t{22 + data.size()});
        putNumber(record, std::uint16_t{1});
        putNumber(record, std::uint32_t{0});
        putNumber(record, time);
        putNumber(record, time);
        return record + data;
    }

    /** @param size the uncompressed size that the chunk claims */
    void chunk(const std::string& compression, const std::string& data, std::uint64_t size,
               std::uint64_t start = 5, std::uint64_t end = 5) {
        std::string content;
        putNumber(content, start);
        putNumber(content, end);
        putNumber(content, size);
        putNumber(content, std::uint32_t{0});
        putSized<std::uint32_t>(content, compression);
        putSized<std::uint64_t>(content, data);
        fChunks.push_back({position(), 9 + content.size(), start, end});
        record(Opcode::Chunk, content);
    }

    /** Adds the end of a finished file. The times are those of the statistics. */
    void finish(std::uint32_t chunks, std::uint64_t messages, std::uint64_t start = 0,
                std::uint64_t end = 0) {
        record(Opcode::DataEnd, std::string(4, '\0'));
        const std::uint64_t summary = position();
        recording::putRecord(fBytes, recording::Channel{1, 0, "/a", "json", {}});
        recording::Statistics statistics;
        statistics.fMessageCount = messages;
        statistics.fChannelCount = 1;
        statistics.fChunkCount = chunks;
        statistics.fStart = start;
        statistics.fEnd = end;
        recording::putRecord(fBytes, statistics);
        for (const Chunk& chunk : fChunks) {
            std::string content;
            putNumber(content, chunk.fStart);
            putNumber(content, chunk.fEnd);
            putNumber(content, chunk.fOffset);
            putNumber(content, chunk.fLength);
            content += std::string(4 + 8 + 4 + 8 + 8, '\0');
            record(Opcode::ChunkIndex, content);
        }
        std::string footer;
        putNumber(footer, summary);
        footer += std::string(8 + 4, '\0');
        record(Opcode::Footer, footer);
        fBytes += recording::a_magic;
    }

    std::string write() const { return writeBytes("liar.mcap", fBytes); }

    struct Chunk {
        std::uint64_t fOffset;
        std::uint64_t fLength;
        std::uint64_t fStart;
        std::uint64_t fEnd;
    };
    std::vector<Chunk> fChunks;

  private:
    std::string fBytes{recording::a_magic};
};

/** The sentence for somebody who reads all messages through the indexes. */
std::string sentenceAbout(const Liar& liar) {
    return sentenceOf([&] {
        Reader reader(liar.write());
        EXPECT_TRUE(reader.isIndexed());
        hear(reader);
    });
}

TEST(Hostile, TheLiarCanTellTheTruth) {
    Liar liar;
    liar.chunk("", Liar::message(5), Liar::message(5).size());
    liar.finish(1, 1);
    EXPECT_EQ("", sentenceAbout(liar));
}

TEST(Hostile, ChunksWithALargerSizeThanTheirDataAllows) {
    for (const std::uint64_t size : {std::uint64_t{17} << 20U, recording::a_largestChunk + 1,
                                     std::uint64_t{1} << 63U, ~std::uint64_t{0}}) {
        Liar liar;
        const std::uint64_t place = liar.position();
        liar.chunk("zstd", "tiny", size);
        liar.finish(1, 1);
        EXPECT_EQ("chunk at byte " + std::to_string(place) + " claims " + std::to_string(size) +
                      " bytes in 4 compressed ones, which is too much",
                  sentenceAbout(liar));
    }
}

TEST(Hostile, ChunksWithDamagedData) {
    for (const char* const compression : {"zstd", "lz4"}) {
        Liar liar;
        liar.chunk(compression, "this is not compressed", 100);
        liar.finish(1, 1);
        EXPECT_NE(std::string::npos, sentenceAbout(liar).find("has damaged compressed data"));
    }
    Liar liar;
    liar.chunk("", "four", 5);
    liar.finish(1, 1);
    EXPECT_NE(std::string::npos, sentenceAbout(liar).find("has another size than it claims"));
}

TEST(Hostile, UnknownCompressions) {
    Liar liar;
    liar.chunk("\x1b[31m", "data", 100);
    liar.finish(1, 1);
    EXPECT_NE(std::string::npos, sentenceAbout(liar).find(
                                     R"(is compressed with "\u001b[31m", which is not supported)"));
}

TEST(Hostile, ManyIndexesOfOneChunk) {
    Liar liar;
    liar.chunk("", Liar::message(5), Liar::message(5).size());
    liar.fChunks.resize(1000, liar.fChunks.front());
    liar.finish(1000, 1000);
    EXPECT_NE(std::string::npos, sentenceAbout(liar).find("overlaps the next one in the file"));
}

TEST(Hostile, IndexesThatPointElsewhere) {
    const std::vector<std::function<void(Liar::Chunk&)>> lies{
        [](Liar::Chunk& chunk) { chunk.fOffset = ~std::uint64_t{0}; },
        [](Liar::Chunk& chunk) { chunk.fLength = ~std::uint64_t{0}; },
        [](Liar::Chunk& chunk) { chunk.fLength = 0; },
        [](Liar::Chunk& chunk) { chunk.fOffset = 0; },
        [](Liar::Chunk& chunk) { chunk.fOffset += 1; },
        [](Liar::Chunk& chunk) { chunk.fLength -= 1; },
        [](Liar::Chunk& chunk) { chunk.fStart = 6; },
        [](Liar::Chunk& chunk) { chunk.fEnd = 4; },
        [](Liar::Chunk& chunk) { chunk.fEnd = 6; },
    };
    for (const auto& lie : lies) {
        Liar liar;
        liar.chunk("", Liar::message(5), Liar::message(5).size());
        lie(liar.fChunks.front());
        liar.finish(1, 1);
        EXPECT_NE(std::string::npos, sentenceAbout(liar).find(" at byte "));
        EXPECT_GT(recording::check(liar.write()).fFaultCount, 0U);
    }
}

TEST(Hostile, MessagesOutsideTheTimesOfTheirChunk) {
    Liar liar;
    liar.chunk("", Liar::message(7), Liar::message(7).size());
    liar.finish(1, 1);
    EXPECT_NE(std::string::npos, sentenceAbout(liar).find("has a message outside its times"));
}

TEST(Hostile, StatisticsThatEndBeforeTheyStart) {
    Liar empty;
    empty.finish(0, 0, 9, 5);
    const Reader none(empty.write());
    EXPECT_TRUE(none.isIndexed());
    EXPECT_EQ(0U, none.statistics().fStart);
    EXPECT_EQ(0U, none.statistics().fEnd);
    Liar liar;
    liar.chunk("", Liar::message(5), Liar::message(5).size());
    liar.finish(1, 1, 9, 5);
    const Reader reader(liar.write());
    EXPECT_FALSE(reader.isIndexed());
    EXPECT_EQ(5U, reader.statistics().fStart);
    EXPECT_EQ(5U, reader.statistics().fEnd);
}

TEST(Hostile, RecordsInsideChunks) {
    const std::string message = Liar::message(5);
    std::string nested;
    putNumber(nested, static_cast<std::uint8_t>(Opcode::Chunk));
    putSized<std::uint64_t>(nested, message);
    std::string longer = message;
    recording::setNumber(longer, 1, std::uint64_t{1} << 40U);
    std::string shorter = message;
    recording::setNumber(shorter, 1, std::uint64_t{21});
    const std::vector<std::pair<std::string, std::string>> cases{
        {nested, "may not be in a chunk"},
        {longer, "is longer than the chunk"},
        {shorter, "is too short for its fields"},
        {message + "x", "is cut off"},
    };
    for (const auto& [records, fault] : cases) {
        Liar liar;
        liar.chunk("", records, records.size());
        liar.finish(1, 1);
        EXPECT_NE(std::string::npos, sentenceAbout(liar).find(fault)) << sentenceAbout(liar);
    }
}

TEST(Hostile, ChunksThatAllOverlap) {
    // Ten chunks of 60 MB, from 100 kB each, would all have to be in memory.
    std::string data(60'000'000, 'x');
    std::mt19937 random(1);
    std::generate_n(data.begin(), 100'000, [&] { return static_cast<char>(random()); });
    const std::string records = Liar::message(1) + Liar::message(9, data);
    std::string compressed;
    recording::Compressor compressor(recording::Compression::Zstd, 1);
    compressed += compressor.compress(records).fBytes;
    ASSERT_LT(compressed.size(), 200'000U);
    Liar liar;
    for (int i = 0; i < 10; ++i) {
        liar.chunk("zstd", compressed, records.size(), 1, 9);
    }
    liar.finish(10, 20);
    EXPECT_NE(std::string::npos, sentenceAbout(liar).find("overlaps with too many others in time"));
}

TEST(Hostile, DefinitionsThatDiffer) {
    Liar liar;
    std::string records;
    recording::putRecord(records, recording::Channel{1, 0, "/a", "json", {}});
    recording::putRecord(records, recording::Channel{1, 0, "/b", "json", {}});
    liar.chunk("", records, records.size());
    const Reader reader(liar.write());
    ASSERT_FALSE(reader.damages().empty());
    EXPECT_NE(std::string::npos, reader.damages().front().fText.find("which another one has"));
}

TEST(Hostile, LengthsThatLeadNowhere) {
    for (const std::uint64_t length :
         {std::uint64_t{1}, std::uint64_t{1} << 32U, ~std::uint64_t{0} - 8, ~std::uint64_t{0}}) {
        std::string bytes(recording::a_magic);
        for (int opcode = 0; opcode < 256; ++opcode) {
            std::string one = bytes;
            one.push_back(static_cast<char>(opcode));
            putNumber(one, length);
            const Reader reader(writeBytes("length.mcap", one));
            EXPECT_FALSE(reader.isWhole());
            ASSERT_FALSE(reader.damages().empty());
        }
    }
}

TEST(Hostile, AFileOfDamagedRecordsIsNotReadForEver) {
    Liar liar;
    for (int i = 0; i < 30'000; ++i) {
        liar.record(Opcode::Schema, "");
    }
    const Reader reader(liar.write());
    EXPECT_EQ(100U, reader.damages().size());
    EXPECT_FALSE(reader.isWhole());
}

}  // namespace
}  // namespace recording_test
