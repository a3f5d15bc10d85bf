#include "large_file.h"

#include "fields.h"
#include "recording_files.h"

#include <fstream>

namespace recording_test {
namespace {

using recording::Opcode;
using recording::putNumber;
using recording::putSized;

/** 64 kB from one chunk to the next: 16 GB. */
constexpr std::uint64_t a_distance = 65'536;
constexpr std::uint64_t a_first = 1024;

std::string chunkAt(std::uint64_t number) {
    std::string message;
    putNumber(message, static_cast<std::uint8_t>(Opcode::Message));
    putNumber(message, std::uint64_t{22 + 4});
    putNumber(message, std::uint16_t{1});
    putNumber(message, static_cast<std::uint32_t>(number));
    putNumber(message, number);
    putNumber(message, number);
    message += "data";
    std::string chunk;
    {
        const recording::RecordAppender record(chunk, Opcode::Chunk);
        putNumber(chunk, number);
        putNumber(chunk, number);
        putNumber(chunk, std::uint64_t{message.size()});
        putNumber(chunk, std::uint32_t{0});
        putSized<std::uint32_t>(chunk, "");
        putSized<std::uint64_t>(chunk, message);
    }
    return chunk;
}

std::string summary(std::uint64_t start) {
    std::string bytes;
    std::string offsets;
    const auto addGroup = [&](Opcode opcode, std::uint64_t from) {
        const recording::RecordAppender record(offsets, Opcode::SummaryOffset);
        putNumber(offsets, static_cast<std::uint8_t>(opcode));
        putNumber(offsets, start + from);
        putNumber(offsets, std::uint64_t{bytes.size() - from});
    };
    recording::putRecord(bytes, recording::Channel{1, 0, "/a", "json", {}});
    addGroup(Opcode::Channel, 0);
    std::uint64_t from = bytes.size();
    recording::Statistics statistics;
    statistics.fMessageCount = a_largeFileChunks;
    statistics.fChannelCount = 1;
    statistics.fChunkCount = a_largeFileChunks;
    statistics.fEnd = a_largeFileChunks - 1;
    recording::putRecord(bytes, statistics);
    addGroup(Opcode::Statistics, from);
    from = bytes.size();
    const std::uint64_t length = chunkAt(0).size();
    for (std::uint64_t i = 0; i < a_largeFileChunks; ++i) {
        const recording::RecordAppender record(bytes, Opcode::ChunkIndex);
        putNumber(bytes, i);
        putNumber(bytes, i);
        putNumber(bytes, a_first + i * a_distance);
        putNumber(bytes, length);
        putNumber(bytes, std::uint32_t{10});
        putNumber(bytes, std::uint16_t{1});
        putNumber(bytes, a_first + i * a_distance + length);
        putNumber(bytes, std::uint64_t{0});
        putSized<std::uint32_t>(bytes, "");
        putNumber(bytes, std::uint64_t{35});
        putNumber(bytes, std::uint64_t{35});
    }
    addGroup(Opcode::ChunkIndex, from);
    const std::uint64_t offsetsStart = start + bytes.size();
    bytes += offsets;
    {
        const recording::RecordAppender record(bytes, Opcode::Footer);
        putNumber(bytes, start);
        putNumber(bytes, offsetsStart);
        putNumber(bytes, std::uint32_t{0});
    }
    bytes += recording::a_magic;
    return bytes;
}

}  // namespace

std::string writeLargeFile(const std::vector<std::uint64_t>& chunks) {
    const std::string path = pathOf("large.mcap");
    std::ofstream file(path, std::ios::binary);
    std::string head(recording::a_magic);
    recording::putRecord(head, recording::Header{});
    file << head;
    for (const std::uint64_t chunk : chunks) {
        file.seekp(static_cast<std::streamoff>(a_first + chunk * a_distance));
        file << chunkAt(chunk);
    }
    const std::uint64_t end = a_first + a_largeFileChunks * a_distance;
    file.seekp(static_cast<std::streamoff>(end));
    file << summary(end);
    return path;
}

}  // namespace recording_test
