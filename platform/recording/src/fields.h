#ifndef RECORDING_FIELDS_H
#define RECORDING_FIELDS_H

#include "crc32.h"

#include <cstddef>
#include <cstdint>
#include <recording/records.h>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

/** The fields of records, in bytes. Numbers have their lowest byte first. */
namespace recording {

enum class Opcode : std::uint8_t {
    Header = 0x01,
    Footer = 0x02,
    Schema = 0x03,
    Channel = 0x04,
    Message = 0x05,
    Chunk = 0x06,
    MessageIndex = 0x07,
    ChunkIndex = 0x08,
    Attachment = 0x09,
    AttachmentIndex = 0x0A,
    Statistics = 0x0B,
    Metadata = 0x0C,
    MetadataIndex = 0x0D,
    SummaryOffset = 0x0E,
    DataEnd = 0x0F,
};

constexpr std::string_view a_magic = "\x89MCAP0\r\n";
/** Opcode and length of a record. */
constexpr std::size_t a_prefixSize = 9;
/** Prefix and fixed fields of a message. */
constexpr std::size_t a_messageHeadSize = a_prefixSize + 22;
constexpr std::size_t a_footerSize = a_prefixSize + 20;

/** Returns the name of a record in sentences, for instance "chunk". */
std::string nameOf(Opcode opcode);

/** Throws a RecordingError such as "chunk at byte 12 is cut off". */
[[noreturn]] void fail(const std::string& what, std::uint64_t position, const std::string& fault);

/** Stores a number. @return the place behind it */
template <class Number>
char* storeNumber(char* place, Number number) {
    static_assert(std::is_unsigned_v<Number>);
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
        place[i] = static_cast<char>(number >> (8 * i));
    }
    return place + sizeof(Number);
}

template <class Number>
void putNumber(std::string& bytes, Number number) {
    char digits[sizeof(Number)];
    storeNumber(digits, number);
    bytes.append(digits, sizeof(Number));
}

/** Overwrites a number at a position. */
template <class Number>
void setNumber(std::string& bytes, std::size_t position, Number number) {
    storeNumber(bytes.data() + position, number);
}

template <class Number>
Number numberAt(const char* bytes) {
    Number number = 0;
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
        number = static_cast<Number>(
            number | static_cast<Number>(static_cast<Number>(static_cast<unsigned char>(bytes[i]))
                                         << (8 * i)));
    }
    return number;
}

/** A text or bytes with their number of bytes before them. */
template <class Length>
void putSized(std::string& bytes, std::string_view text) {
    putNumber(bytes, static_cast<Length>(text.size()));
    bytes += text;
}

void putTexts(std::string& bytes, const Texts& texts);

/** Appends a record; its length is filled in by the destructor. */
class RecordAppender {
  public:
    RecordAppender(std::string& bytes, Opcode opcode);
    ~RecordAppender();
    RecordAppender(const RecordAppender&) = delete;
    RecordAppender& operator=(const RecordAppender&) = delete;

  private:
    std::string& fBytes;
    const std::size_t fStart;
};

void putRecord(std::string& bytes, const Header& header);
void putRecord(std::string& bytes, const Schema& schema);
void putRecord(std::string& bytes, const Channel& channel);
void putRecord(std::string& bytes, const Metadata& metadata);
void putRecord(std::string& bytes, const Attachment& attachment);
void putRecord(std::string& bytes, const AttachmentIndex& index);
void putRecord(std::string& bytes, const MetadataIndex& index);
void putRecord(std::string& bytes, const Statistics& statistics);

/** Reads the fields of one record. Throws RecordingError if there are too few bytes. */
class FieldReader {
  public:
    /**
     * @param bytes the record without its prefix
     * @param position of the record in its file, or of its chunk, for the sentences of errors
     */
    FieldReader(Opcode opcode, std::string_view bytes, std::uint64_t position)
        : fBytes(bytes), fOpcode(opcode), fPosition(position) {}

    template <class Number>
    Number number() {
        return numberAt<Number>(bytes(sizeof(Number)).data());
    }
    /** Bytes behind their number, which is of the given type. */
    template <class Length = std::uint32_t>
    std::string_view sized() {
        return bytes(number<Length>());
    }
    std::string text() { return std::string(sized()); }
    Texts texts();
    std::string_view bytes(std::uint64_t size);
    std::string_view rest() const { return fBytes; }

    [[noreturn]] void fail(const std::string& fault) const;

  private:
    std::string_view fBytes;
    Opcode fOpcode;
    std::uint64_t fPosition;
};

Header readHeader(FieldReader fields);
Schema readSchema(FieldReader fields);
Channel readChannel(FieldReader fields);
Metadata readMetadata(FieldReader fields);
/** Verifies the checksum, too. */
Attachment readAttachment(FieldReader fields);
AttachmentIndex readAttachmentIndex(FieldReader fields);
MetadataIndex readMetadataIndex(FieldReader fields);
Statistics readStatistics(FieldReader fields);

/** The fields of a message before its data. */
Message readMessage(std::string_view content);

/** A chunk record without its data. */
struct ChunkHead {
    std::uint64_t fStart = 0;
    std::uint64_t fEnd = 0;
    std::uint64_t fUncompressedSize = 0;
    std::uint32_t fCrc = 0;
    std::string fCompression;
    std::uint64_t fCompressedSize = 0;
};

/** Leaves the compressed data, or as much of it as there is, in `fields`. */
ChunkHead readChunkHead(FieldReader& fields);

/** A chunk index. */
struct ChunkIndex {
    std::uint64_t fStart = 0;
    std::uint64_t fEnd = 0;
    std::uint64_t fOffset = 0;
    std::uint64_t fLength = 0;
    std::string_view fMessageIndexOffsets;  ///< pairs of channel (16 bits) and offset (64 bits)
    std::uint64_t fMessageIndexLength = 0;
    std::string_view fCompression;
    std::uint64_t fCompressedSize = 0;
    std::uint64_t fUncompressedSize = 0;
};

/** The texts point into the fields. */
ChunkIndex readChunkIndex(FieldReader fields);
/** A pair in fMessageIndexOffsets. */
constexpr std::size_t a_messageIndexOffsetSize = 10;
/** A pair of time and offset in a message index. */
constexpr std::size_t a_messageIndexEntrySize = 16;

/** A record inside a chunk. */
struct InnerRecord {
    Opcode fOpcode{};
    std::size_t fOffset = 0;  ///< of its prefix in the chunk
    std::string_view fContent;
};

/**
 * Removes the first record from the uncompressed data of a chunk. Throws RecordingError if it is
 * cut off, or may not be in a chunk.
 *
 * @param chunk the data, from which `offset` counts
 * @param position of the chunk in its file
 */
InnerRecord takeRecord(std::string_view chunk, std::size_t& offset, std::uint64_t position);

}  // namespace recording

#endif
