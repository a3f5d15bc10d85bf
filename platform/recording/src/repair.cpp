#include <base/safe_text.h>

#include <filesystem>
#include <map>
#include <recording/repair.h>
#include <system_error>

namespace recording {

namespace {

/** Copies what a reader finds to a writer. */
class Copy {
  public:
    Copy(Reader& from, Writer& to) : fFrom(from), fTo(to) {}

    RepairReport run() {
        fReport.fDamages = fFrom.damages();
        xCopyDefinitions();
        for (const MetadataIndex& index : fFrom.metadata()) {
            xTry(index.fOffset, [&] { xCopyMetadata(index); });
        }
        for (const AttachmentIndex& index : fFrom.attachments()) {
            xTry(index.fOffset, [&] { xCopyAttachment(index); });
        }
        Selection all;
        all.fOrder = Order::File;
        Messages messages = fFrom.messages(all);
        while (const std::optional<Message> message = messages.next()) {
            Message copy = *message;
            copy.fChannelId = fChannels.at(message->fChannelId);
            fTo.write(copy);
            ++fReport.fMessages;
        }
        fTo.finish();
        return fReport;
    }

  private:
    void xCopyDefinitions() {
        std::map<std::uint16_t, std::uint16_t> schemas;
        for (const auto& [id, schema] : fFrom.schemas()) {
            schemas[id] = fTo.addSchema(schema.fName, schema.fEncoding, schema.fData);
        }
        for (const auto& [id, channel] : fFrom.channels()) {
            const auto schema = schemas.find(channel.fSchemaId);
            fChannels[id] =
                fTo.addChannel(schema == schemas.end() ? 0 : schema->second, channel.fTopic,
                               channel.fMessageEncoding, channel.fMetadata);
        }
    }

    void xCopyMetadata(const MetadataIndex& index) {
        fTo.writeMetadata(fFrom.readMetadata(index));
        ++fReport.fMetadata;
    }

    void xCopyAttachment(const AttachmentIndex& index) {
        fTo.writeAttachment(fFrom.readAttachment(index));
        ++fReport.fAttachments;
    }

    /** Leaves out a record that cannot be read; a write error ends the copy. */
    template <class Step>
    void xTry(std::uint64_t offset, Step step) {
        constexpr std::size_t mostDamages = 100;
        try {
            step();
        } catch (const RecordingError& error) {
            if (fTo.error()) {
                throw;
            }
            if (fReport.fDamages.size() < mostDamages) {
                fReport.fDamages.push_back({offset, error.what()});
            }
        }
    }

    Reader& fFrom;
    Writer& fTo;
    std::map<std::uint16_t, std::uint16_t> fChannels;
    RepairReport fReport;
};

}  // namespace

RepairReport repair(const std::string& broken, const std::string& repaired,
                    const WriterOptions& options) {
    std::error_code ignored;
    if (std::filesystem::equivalent(broken, repaired, ignored)) {
        throw RecordingError("cannot repair " + base::oneLine(broken) +
                             " in place: choose another file");
    }
    Reader reader(broken, Access::Sequential);
    WriterOptions withHeader = options;
    withHeader.fHeader.fProfile = reader.header().fProfile;
    Writer writer(repaired, withHeader);
    return Copy(reader, writer).run();
}

}  // namespace recording
