#include "summary_writer.h"

#include "fields.h"

namespace recording {

namespace {

/** Collects records, and the groups that they form, into pieces for the file. */
class Tail {
  public:
    explicit Tail(OutputFile& file) : fFile(file) {}

    std::uint64_t position() const { return fFile.size() + fBytes.size(); }
    std::uint32_t crc() const { return crc32Of(fBytes, fCrc); }
    void startCrc() {
        flush();
        fCrc = 0;
    }

    std::string& bytes() { return fBytes; }

    template <class Record>
    void put(const Record& record) {
        putRecord(fBytes, record);
        xFlushIfLarge();
    }

    void put(std::string_view bytes) {
        fBytes += bytes;
        xFlushIfLarge();
    }

    void flush() {
        fFile.append(fBytes);
        fCrc = crc32Of(fBytes, fCrc);
        fBytes.clear();
    }

    /** Puts the records of one kind, and remembers where they are. */
    template <class Put>
    void putGroup(Opcode opcode, Put putRecords) {
        const std::uint64_t start = position();
        putRecords();
        if (position() > start) {
            const RecordAppender record(fOffsets, Opcode::SummaryOffset);
            putNumber(fOffsets, static_cast<std::uint8_t>(opcode));
            putNumber(fOffsets, start);
            putNumber(fOffsets, position() - start);
        }
    }

    template <class Records>
    void putGroupOf(Opcode opcode, const Records& records) {
        putGroup(opcode, [&] {
            for (const auto& record : records) {
                put(record);
            }
        });
    }

    void putGroupOf(Opcode opcode, const Spill& records) {
        putGroup(opcode, [&] { records.replay([this](std::string_view piece) { put(piece); }); });
    }

    void putOffsets() { put(std::string_view(fOffsets)); }

  private:
    void xFlushIfLarge() {
        constexpr std::size_t piece = std::size_t{1} << 20U;
        if (fBytes.size() >= piece) {
            flush();
        }
    }

    OutputFile& fFile;
    std::string fBytes;
    std::string fOffsets;
    std::uint32_t fCrc = 0;
};

void write(OutputFile& file, const Summary& summary) {
    Tail tail(file);
    tail.put(std::string_view(summary.fLeftDefinitions));
    tail.flush();
    {
        const RecordAppender record(tail.bytes(), Opcode::DataEnd);
        putNumber(tail.bytes(), file.crc());
    }
    tail.startCrc();
    const std::uint64_t start = tail.position();
    tail.putGroupOf(Opcode::Schema, summary.fSchemas);
    tail.putGroupOf(Opcode::Channel, summary.fChannels);
    tail.putGroup(Opcode::Statistics, [&] { tail.put(summary.fStatistics); });
    tail.putGroupOf(Opcode::ChunkIndex, summary.fChunkIndexes);
    tail.putGroupOf(Opcode::AttachmentIndex, summary.fAttachmentIndexes);
    tail.putGroupOf(Opcode::MetadataIndex, summary.fMetadataIndexes);
    const std::uint64_t offsets = tail.position();
    tail.putOffsets();
    {
        const RecordAppender record(tail.bytes(), Opcode::Footer);
        putNumber(tail.bytes(), start);
        putNumber(tail.bytes(), offsets);
        // The checksum includes the prefix of the footer, with its length.
        setNumber(tail.bytes(),
                  tail.bytes().size() - 2 * sizeof(std::uint64_t) - sizeof(std::uint64_t),
                  std::uint64_t{a_footerSize - a_prefixSize});
        putNumber(tail.bytes(), tail.crc());
    }
    tail.put(a_magic);
    tail.flush();
}

}  // namespace

void writeSummary(OutputFile& file, const Summary& summary) {
    const std::uint64_t size = file.size();
    const std::uint32_t crc = file.crc();
    try {
        write(file, summary);
    } catch (...) {
        file.cutOff(size, crc);
        throw;
    }
}

}  // namespace recording
