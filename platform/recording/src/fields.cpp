#include "fields.h"

namespace recording {

std::string nameOf(Opcode opcode) {
    switch (opcode) {
        case Opcode::Header:
            return "header";
        case Opcode::Footer:
            return "footer";
        case Opcode::Schema:
            return "schema";
        case Opcode::Channel:
            return "channel";
        case Opcode::Message:
            return "message";
        case Opcode::Chunk:
            return "chunk";
        case Opcode::MessageIndex:
            return "message index";
        case Opcode::ChunkIndex:
            return "chunk index";
        case Opcode::Attachment:
            return "attachment";
        case Opcode::AttachmentIndex:
            return "attachment index";
        case Opcode::Statistics:
            return "statistics";
        case Opcode::Metadata:
            return "metadata";
        case Opcode::MetadataIndex:
            return "metadata index";
        case Opcode::SummaryOffset:
            return "summary offset";
        case Opcode::DataEnd:
            return "end of data";
    }
    return "record " + std::to_string(static_cast<unsigned>(opcode));
}

void fail(const std::string& what, std::uint64_t position, const std::string& fault) {
    throw RecordingError(what + " at byte " + std::to_string(position) + ' ' + fault);
}

void putTexts(std::string& bytes, const Texts& texts) {
    const std::size_t start = bytes.size();
    putNumber(bytes, std::uint32_t{0});
    for (const auto& [name, text] : texts) {
        putSized<std::uint32_t>(bytes, name);
        putSized<std::uint32_t>(bytes, text);
    }
    setNumber(bytes, start,
              static_cast<std::uint32_t>(bytes.size() - start - sizeof(std::uint32_t)));
}

RecordAppender::RecordAppender(std::string& bytes, Opcode opcode)
    : fBytes(bytes), fStart(bytes.size()) {
    putNumber(bytes, static_cast<std::uint8_t>(opcode));
    putNumber(bytes, std::uint64_t{0});
}

RecordAppender::~RecordAppender() {
    setNumber(fBytes, fStart + 1, std::uint64_t{fBytes.size() - fStart - a_prefixSize});
}

void putRecord(std::string& bytes, const Header& header) {
    const RecordAppender record(bytes, Opcode::Header);
    putSized<std::uint32_t>(bytes, header.fProfile);
    putSized<std::uint32_t>(bytes, header.fLibrary);
}

void putRecord(std::string& bytes, const Schema& schema) {
    const RecordAppender record(bytes, Opcode::Schema);
    putNumber(bytes, schema.fId);
    putSized<std::uint32_t>(bytes, schema.fName);
    putSized<std::uint32_t>(bytes, schema.fEncoding);
    putSized<std::uint32_t>(bytes, schema.fData);
}

void putRecord(std::string& bytes, const Channel& channel) {
    const RecordAppender record(bytes, Opcode::Channel);
    putNumber(bytes, channel.fId);
    putNumber(bytes, channel.fSchemaId);
    putSized<std::uint32_t>(bytes, channel.fTopic);
    putSized<std::uint32_t>(bytes, channel.fMessageEncoding);
    putTexts(bytes, channel.fMetadata);
}

void putRecord(std::string& bytes, const Metadata& metadata) {
    const RecordAppender record(bytes, Opcode::Metadata);
    putSized<std::uint32_t>(bytes, metadata.fName);
    putTexts(bytes, metadata.fEntries);
}

void putRecord(std::string& bytes, const Attachment& attachment) {
    const RecordAppender record(bytes, Opcode::Attachment);
    const std::size_t start = bytes.size();
    putNumber(bytes, attachment.fLogTime);
    putNumber(bytes, attachment.fCreateTime);
    putSized<std::uint32_t>(bytes, attachment.fName);
    putSized<std::uint32_t>(bytes, attachment.fMediaType);
    putSized<std::uint64_t>(bytes, attachment.fData);
    putNumber(bytes, crc32Of(std::string_view(bytes).substr(start)));
}

void putRecord(std::string& bytes, const AttachmentIndex& index) {
    const RecordAppender record(bytes, Opcode::AttachmentIndex);
    putNumber(bytes, index.fOffset);
    putNumber(bytes, index.fLength);
    putNumber(bytes, index.fLogTime);
    putNumber(bytes, index.fCreateTime);
    putNumber(bytes, index.fDataSize);
    putSized<std::uint32_t>(bytes, index.fName);
    putSized<std::uint32_t>(bytes, index.fMediaType);
}

void putRecord(std::string& bytes, const MetadataIndex& index) {
    const RecordAppender record(bytes, Opcode::MetadataIndex);
    putNumber(bytes, index.fOffset);
    putNumber(bytes, index.fLength);
    putSized<std::uint32_t>(bytes, index.fName);
}

void putRecord(std::string& bytes, const Statistics& statistics) {
    const RecordAppender record(bytes, Opcode::Statistics);
    putNumber(bytes, statistics.fMessageCount);
    putNumber(bytes, statistics.fSchemaCount);
    putNumber(bytes, statistics.fChannelCount);
    putNumber(bytes, statistics.fAttachmentCount);
    putNumber(bytes, statistics.fMetadataCount);
    putNumber(bytes, statistics.fChunkCount);
    putNumber(bytes, statistics.fStart);
    putNumber(bytes, statistics.fEnd);
    constexpr std::size_t bytesOfCount = sizeof(std::uint16_t) + sizeof(std::uint64_t);
    putNumber(bytes,
              static_cast<std::uint32_t>(statistics.fMessagesByChannel.size() * bytesOfCount));
    for (const auto& [channel, count] : statistics.fMessagesByChannel) {
        putNumber(bytes, channel);
        putNumber(bytes, count);
    }
}

std::string_view FieldReader::bytes(std::uint64_t size) {
    if (size > fBytes.size()) {
        fail("is too short for its fields");
    }
    const std::string_view result = fBytes.substr(0, size);
    fBytes.remove_prefix(size);
    return result;
}

void FieldReader::fail(const std::string& fault) const {
    recording::fail(nameOf(fOpcode), fPosition, fault);
}

Texts FieldReader::texts() {
    FieldReader inner(fOpcode, sized(), fPosition);
    Texts result;
    while (!inner.rest().empty()) {
        std::string name = inner.text();
        result.insert_or_assign(std::move(name), inner.text());
    }
    return result;
}

Header readHeader(FieldReader fields) {
    Header header;
    header.fProfile = fields.text();
    header.fLibrary = fields.text();
    return header;
}

Schema readSchema(FieldReader fields) {
    Schema schema;
    schema.fId = fields.number<std::uint16_t>();
    schema.fName = fields.text();
    schema.fEncoding = fields.text();
    schema.fData = fields.text();
    if (schema.fId == 0) {
        fields.fail("has the number 0");
    }
    return schema;
}

Channel readChannel(FieldReader fields) {
    Channel channel;
    channel.fId = fields.number<std::uint16_t>();
    channel.fSchemaId = fields.number<std::uint16_t>();
    channel.fTopic = fields.text();
    channel.fMessageEncoding = fields.text();
    channel.fMetadata = fields.texts();
    return channel;
}

Metadata readMetadata(FieldReader fields) {
    Metadata metadata;
    metadata.fName = fields.text();
    metadata.fEntries = fields.texts();
    return metadata;
}

Attachment readAttachment(FieldReader fields) {
    const std::string_view all = fields.rest();
    Attachment attachment;
    attachment.fLogTime = fields.number<std::uint64_t>();
    attachment.fCreateTime = fields.number<std::uint64_t>();
    attachment.fName = fields.text();
    attachment.fMediaType = fields.text();
    attachment.fData = std::string(fields.sized<std::uint64_t>());
    const std::string_view summed = all.substr(0, all.size() - fields.rest().size());
    const auto crc = fields.number<std::uint32_t>();
    if (crc != 0 && crc != crc32Of(summed)) {
        fields.fail("has a wrong checksum");
    }
    return attachment;
}

AttachmentIndex readAttachmentIndex(FieldReader fields) {
    AttachmentIndex index;
    index.fOffset = fields.number<std::uint64_t>();
    index.fLength = fields.number<std::uint64_t>();
    index.fLogTime = fields.number<std::uint64_t>();
    index.fCreateTime = fields.number<std::uint64_t>();
    index.fDataSize = fields.number<std::uint64_t>();
    index.fName = fields.text();
    index.fMediaType = fields.text();
    return index;
}

MetadataIndex readMetadataIndex(FieldReader fields) {
    MetadataIndex index;
    index.fOffset = fields.number<std::uint64_t>();
    index.fLength = fields.number<std::uint64_t>();
    index.fName = fields.text();
    return index;
}

Statistics readStatistics(FieldReader fields) {
    Statistics statistics;
    statistics.fMessageCount = fields.number<std::uint64_t>();
    statistics.fSchemaCount = fields.number<std::uint16_t>();
    statistics.fChannelCount = fields.number<std::uint32_t>();
    statistics.fAttachmentCount = fields.number<std::uint32_t>();
    statistics.fMetadataCount = fields.number<std::uint32_t>();
    statistics.fChunkCount = fields.number<std::uint32_t>();
    statistics.fStart = fields.number<std::uint64_t>();
    statistics.fEnd = fields.number<std::uint64_t>();
    FieldReader counts(Opcode::Statistics, fields.sized(), 0);
    while (!counts.rest().empty()) {
        const auto channel = counts.number<std::uint16_t>();
        statistics.fMessagesByChannel[channel] = counts.number<std::uint64_t>();
    }
    return statistics;
}

Message readMessage(std::string_view content) {
    constexpr std::size_t sequence = 2;
    constexpr std::size_t logTime = 6;
    constexpr std::size_t publishTime = 14;
    constexpr std::size_t data = 22;
    return {numberAt<std::uint16_t>(content.data()),
            numberAt<std::uint32_t>(content.data() + sequence),
            numberAt<std::uint64_t>(content.data() + logTime),
            numberAt<std::uint64_t>(content.data() + publishTime), content.substr(data)};
}

ChunkHead readChunkHead(FieldReader& fields) {
    ChunkHead head;
    head.fStart = fields.number<std::uint64_t>();
    head.fEnd = fields.number<std::uint64_t>();
    head.fUncompressedSize = fields.number<std::uint64_t>();
    head.fCrc = fields.number<std::uint32_t>();
    head.fCompression = fields.text();
    head.fCompressedSize = fields.number<std::uint64_t>();
    return head;
}

ChunkIndex readChunkIndex(FieldReader fields) {
    ChunkIndex index;
    index.fStart = fields.number<std::uint64_t>();
    index.fEnd = fields.number<std::uint64_t>();
    index.fOffset = fields.number<std::uint64_t>();
    index.fLength = fields.number<std::uint64_t>();
    index.fMessageIndexOffsets = fields.sized();
    index.fMessageIndexLength = fields.number<std::uint64_t>();
    index.fCompression = fields.sized();
    index.fCompressedSize = fields.number<std::uint64_t>();
    index.fUncompressedSize = fields.number<std::uint64_t>();
    if (index.fMessageIndexOffsets.size() % a_messageIndexOffsetSize != 0) {
        fields.fail("has a part of an offset");
    }
    return index;
}

InnerRecord takeRecord(std::string_view chunk, std::size_t& offset, std::uint64_t position) {
    const auto place = [&] { return "record " + std::to_string(offset) + " bytes into the chunk"; };
    const std::size_t left = chunk.size() - offset;
    if (left < a_prefixSize) {
        fail(place(), position, "is cut off");
    }
    InnerRecord record;
    record.fOpcode = static_cast<Opcode>(chunk[offset]);
    record.fOffset = offset;
    const auto length = numberAt<std::uint64_t>(chunk.data() + offset + 1);
    if (length > left - a_prefixSize) {
        fail(place(), position, "is longer than the chunk");
    }
    record.fContent = chunk.substr(offset + a_prefixSize, length);
    const bool isAllowed = record.fOpcode == Opcode::Schema || record.fOpcode == Opcode::Channel ||
                           record.fOpcode == Opcode::Message || record.fOpcode > Opcode::DataEnd;
    if (!isAllowed) {
        fail(place(), position, "may not be in a chunk");
    }
    if (record.fOpcode == Opcode::Message &&
        record.fContent.size() < a_messageHeadSize - a_prefixSize) {
        fail(place(), position, "is too short for its fields");
    }
    offset += a_prefixSize + length;
    return record;
}

}  // namespace recording
