#ifndef RECORDING_RECORDS_H
#define RECORDING_RECORDS_H

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

/**
 * Recordings in MCAP files: messages on channels, with a time stamp each, compressed and indexed.
 *
 * Times are nanoseconds since 1970-01-01 UTC. Texts that come from a file are untrusted bytes: make
 * them safe (base/safe_text.h) before they are shown.
 */
namespace recording {

/** A recording that cannot be read or written. The text is a sentence for the user; it names the
 *  byte of the file where the fault is, if there is one. */
class RecordingError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/** A file that cannot be created or written, for instance because the disk is full. */
class WriteError : public RecordingError {
  public:
    using RecordingError::RecordingError;
};

/** Limits of what is written and read. A file beyond them is refused. */
constexpr std::uint64_t a_largestChunk = std::uint64_t{256} << 20U;        ///< bytes, uncompressed
constexpr std::uint64_t a_largestDefinition = std::uint64_t{16} << 20U;    ///< bytes of one schema,
                                                                           ///< channel or metadata
constexpr std::uint64_t a_largestMessage = std::uint64_t{223} << 20U;      ///< bytes that are
                                                                           ///< written
constexpr std::uint64_t a_largestDefinitions = std::uint64_t{256} << 20U;  ///< bytes of all of them
constexpr std::uint64_t a_largestAttachment = std::uint64_t{256} << 20U;   ///< bytes
constexpr std::uint64_t a_largestOpenChunks = std::uint64_t{512} << 20U;   ///< bytes of chunks that
                                                                           ///< overlap in time

using Texts = std::map<std::string, std::string>;

struct Header {
    std::string fProfile;
    std::string fLibrary;  ///< the program that wrote the file
};

/** The format of the messages of channels. */
struct Schema {
    std::uint16_t fId = 0;  ///< not 0
    std::string fName;
    std::string fEncoding;  ///< for instance "jsonschema" or "protobuf"
    std::string fData;
};

struct Channel {
    std::uint16_t fId = 0;
    std::uint16_t fSchemaId = 0;  ///< 0 for none
    std::string fTopic;
    std::string fMessageEncoding;  ///< for instance "json" or "protobuf"
    Texts fMetadata;
};

struct Message {
    std::uint16_t fChannelId = 0;
    std::uint32_t fSequence = 0;
    std::uint64_t fLogTime = 0;      ///< when the recorder got it
    std::uint64_t fPublishTime = 0;  ///< when the robot sent it
    std::string_view fData;          ///< owned by somebody else, who says how long
};

/** A file inside the recording. */
struct Attachment {
    std::uint64_t fLogTime = 0;
    std::uint64_t fCreateTime = 0;  ///< 0 if unknown
    std::string fName;
    std::string fMediaType;
    std::string fData;
};

struct Metadata {
    std::string fName;
    Texts fEntries;
};

/** An attachment without its data. */
struct AttachmentIndex {
    std::uint64_t fOffset = 0;  ///< of its record in the file
    std::uint64_t fLength = 0;  ///< of its record
    std::uint64_t fLogTime = 0;
    std::uint64_t fCreateTime = 0;
    std::uint64_t fDataSize = 0;
    std::string fName;
    std::string fMediaType;
};

struct MetadataIndex {
    std::uint64_t fOffset = 0;  ///< of its record in the file
    std::uint64_t fLength = 0;  ///< of its record
    std::string fName;
};

struct Statistics {
    std::uint64_t fMessageCount = 0;
    std::uint16_t fSchemaCount = 0;
    std::uint32_t fChannelCount = 0;
    std::uint32_t fAttachmentCount = 0;
    std::uint32_t fMetadataCount = 0;
    std::uint32_t fChunkCount = 0;
    std::uint64_t fStart = 0;  ///< log time of the first message; 0 without messages
    std::uint64_t fEnd = 0;    ///< log time of the last message; not before fStart
    std::map<std::uint16_t, std::uint64_t> fMessagesByChannel;
};

}  // namespace recording

#endif
