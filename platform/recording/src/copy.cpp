#include "crc32.h"

#include <base/safe_text.h>

#include <map>
#include <optional>
#include <recording/copy.h>
#include <set>
#include <tuple>
#include <unistd.h>
#include <utility>

namespace recording {

namespace {

/** Copies messages to one writer. */
class Merge {
  public:
    Merge(const std::vector<Source>& sources, const CopySelection& selection, Writer& to)
        : fSources(sources), fSelection(selection), fTo(to), fStreams(sources.size()) {}

    CopyReport run() {
        for (std::size_t i = 0; i < fSources.size(); ++i) {
            xNamingFile(i, [&] {
                xCopyMetadata(*fSources[i].fReader);
                xCopyAttachments(*fSources[i].fReader);
                xOpen(i);
                xAdvance(i);
            });
        }
        while (!fNext.empty()) {
            const std::size_t i = fNext.begin()->second;
            fNext.erase(fNext.begin());
            xNamingFile(i, [&] {
                xWrite(i);
                xAdvance(i);
            });
        }
        fTo.finish();
        return fReport;
    }

  private:
    struct Stream {
        std::optional<Messages> fMessages;
        std::optional<Message> fMessage;                   ///< the next one
        std::map<std::uint16_t, std::uint16_t> fChannels;  ///< numbers in the new file
    };

    /** Adds the file to the sentence of an error in one of several. */
    template <class Step>
    void xNamingFile(std::size_t i, Step step) const {
        try {
            step();
        } catch (const WriteError&) {
            throw;
        } catch (const RecordingError& error) {
            throw RecordingError(base::oneLine(fSources[i].fPath) + ": " + error.what());
        }
    }

    void xCopyMetadata(const Reader& from) {
        for (const MetadataIndex& index : from.metadata()) {
            const Metadata metadata = from.readMetadata(index);
            if (fMetadata.emplace(metadata.fName, metadata.fEntries).second) {
                fTo.writeMetadata(metadata);
                ++fReport.fMetadata;
            }
        }
    }

    void xCopyAttachments(const Reader& from) {
        for (const AttachmentIndex& index : from.attachments()) {
            const Attachment attachment = from.readAttachment(index);
            // Parts of a recording have the same files at other times.
            if (fAttachments
                    .emplace(attachment.fName, attachment.fMediaType, attachment.fData.size(),
                             crc32Of(attachment.fData))
                    .second) {
                fTo.writeAttachment(attachment);
                ++fReport.fAttachments;
            }
        }
    }

    void xOpen(std::size_t i) {
        Reader& reader = *fSources[i].fReader;
        Selection selection;
        selection.fFrom = fSelection.fFrom;
        selection.fTo = fSelection.fTo;
        if (fSelection.fWants) {
            selection.fChannels.emplace();
            for (const auto& [id, channel] : reader.channels()) {
                if (fSelection.fWants(reader, channel)) {
                    selection.fChannels->insert(id);
                }
            }
        }
        fStreams[i].fMessages.emplace(reader.messages(selection));
    }

    /** The data of a message is valid until its stream advances. */
    void xAdvance(std::size_t i) {
        Stream& stream = fStreams[i];
        stream.fMessage = stream.fMessages->next();
        if (stream.fMessage) {
            fNext.emplace(stream.fMessage->fLogTime, i);
        }
    }

    void xWrite(std::size_t i) {
        Message message = *fStreams[i].fMessage;
        message.fChannelId = xChannelOf(i, message.fChannelId);
        fTo.write(message);
        ++fReport.fMessages;
    }

    std::uint16_t xChannelOf(std::size_t i, std::uint16_t id) {
        const auto known = fStreams[i].fChannels.find(id);
        if (known != fStreams[i].fChannels.end()) {
            return known->second;
        }
        const Reader& reader = *fSources[i].fReader;
        const Channel& channel = reader.channels().at(id);
        const auto schema = reader.schemas().find(channel.fSchemaId);
        const std::uint16_t schemaId =
            schema == reader.schemas().end() ? std::uint16_t{0} : xSchemaOf(schema->second);
        const auto [added, isNew] = fChannels.try_emplace(
            {schemaId, channel.fTopic, channel.fMessageEncoding, channel.fMetadata}, 0);
        if (isNew) {
            added->second = fTo.addChannel(schemaId, channel.fTopic, channel.fMessageEncoding,
                                           channel.fMetadata);
        }
        fStreams[i].fChannels[id] = added->second;
        return added->second;
    }

    std::uint16_t xSchemaOf(const Schema& schema) {
        const auto [added, isNew] =
            fSchemas.try_emplace({schema.fName, schema.fEncoding, schema.fData}, 0);
        if (isNew) {
            added->second = fTo.addSchema(schema.fName, schema.fEncoding, schema.fData);
        }
        return added->second;
    }

    const std::vector<Source>& fSources;
    const CopySelection& fSelection;
    Writer& fTo;
    std::vector<Stream> fStreams;
    std::set<std::pair<std::uint64_t, std::size_t>> fNext;  ///< time and stream of each message
    std::map<std::tuple<std::string, std::string, std::string>, std::uint16_t> fSchemas;
    std::map<std::tuple<std::uint16_t, std::string, std::string, Texts>, std::uint16_t> fChannels;
    std::set<std::pair<std::string, Texts>> fMetadata;
    std::set<std::tuple<std::string, std::string, std::size_t, std::uint32_t>> fAttachments;
    CopyReport fReport;
};

}  // namespace

CopyReport copy(const std::vector<Source>& sources, const std::string& path,
                const CopySelection& selection, const WriterOptions& options) {
    Writer writer(path, options);
    try {
        return Merge(sources, selection, writer).run();
    } catch (...) {
        ::unlink(path.c_str());
        throw;
    }
}

}  // namespace recording
