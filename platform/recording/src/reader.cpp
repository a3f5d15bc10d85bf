#include "chunk_store.h"
#include "fields.h"
#include "latest_times.h"
#include "messages.h"
#include "newest_messages.h"

#include <recording/reader.h>

namespace recording {

namespace {

/** Returns the record that an index points to. */
OuterRecord recordAt(const InputFile& file, Opcode opcode, std::uint64_t offset,
                     std::uint64_t length) {
    if (offset > file.size() || length > file.size() - offset) {
        fail(nameOf(opcode), offset, "is outside the file");
    }
    Scanner scanner(file, offset, offset + length);
    const std::optional<OuterRecord> record = scanner.next();
    if (!record || record->fOpcode != opcode || record->fLength != length) {
        fail(nameOf(opcode), offset, "is not where the index says");
    }
    return *record;
}

}  // namespace

Reader::Reader(const std::string& path, Access access)
    : fStore(std::make_unique<ChunkStore>(path, access)) {
}

Reader::~Reader() = default;

const Header& Reader::header() const {
    return fStore->fHeader;
}

const Statistics& Reader::statistics() const {
    return fStore->fStatistics;
}

const std::map<std::uint16_t, Schema>& Reader::schemas() const {
    return fStore->fSchemas;
}

const std::map<std::uint16_t, Channel>& Reader::channels() const {
    return fStore->fChannels;
}

const std::vector<AttachmentIndex>& Reader::attachments() const {
    return fStore->fAttachments;
}

const std::vector<MetadataIndex>& Reader::metadata() const {
    return fStore->fMetadata;
}

std::uint64_t Reader::fileSize() const {
    return fStore->file().size();
}

bool Reader::isIndexed() const {
    return fStore->isIndexed();
}

bool Reader::isWhole() const {
    return fStore->isWhole();
}

std::string Reader::unknownCompression() const {
    return fStore->unknownCompression();
}

const std::vector<Damage>& Reader::damages() const {
    return fStore->damages();
}

Attachment Reader::readAttachment(const AttachmentIndex& index) const {
    const OuterRecord record =
        recordAt(fStore->file(), Opcode::Attachment, index.fOffset, index.fLength);
    const FieldReader fields =
        fieldsOf(fStore->file(), record, a_largestAttachment + a_largestDefinition);
    return recording::readAttachment(fields);
}

Metadata Reader::readMetadata(const MetadataIndex& index) const {
    const OuterRecord record =
        recordAt(fStore->file(), Opcode::Metadata, index.fOffset, index.fLength);
    return recording::readMetadata(fieldsOf(fStore->file(), record));
}

Messages Reader::messages(const Selection& selection) {
    return Messages(std::make_unique<MessagesImpl>(*fStore, selection));
}

bool Reader::newestAt(std::uint64_t time, const std::set<std::uint16_t>& channels,
                      const std::function<void(const Message&)>& take,
                      const std::function<bool()>& goOn) {
    if (!fNewest) {
        fNewest = std::make_unique<NewestMessages>(*fStore);
    }
    return fNewest->find(time, channels, take, goOn);
}

std::vector<std::uint64_t> Reader::timesBefore(std::uint64_t time,
                                               const std::set<std::uint16_t>& channels,
                                               std::size_t count,
                                               const std::function<bool()>& goOn) {
    return latestTimes(*fStore, time, channels, count, goOn);
}

}  // namespace recording
