#ifndef RECORDING_READER_H
#define RECORDING_READER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <recording/records.h>
#include <set>
#include <string>
#include <vector>

namespace recording {

enum class Access {
    Indexed,     ///< through the indexes at the end; through all records if those are unusable
    Sequential,  ///< through all records: linear in the file's size
};

/** The order of messages. Messages of the same log time are in the order of the file. */
enum class Order { LogTime, File };

/** The messages to read. */
struct Selection {
    std::uint64_t fFrom = 0;                                          ///< log time, included
    std::uint64_t fTo = std::numeric_limits<std::uint64_t>::max();    ///< log time, included
    std::optional<std::set<std::uint16_t>> fChannels = std::nullopt;  ///< all channels if not set
    Order fOrder = Order::LogTime;
    /** Called before each chunk is read; false ends the messages. */
    std::function<bool()> fGoOn = [] { return true; };
};

/** A part of a file that could not be read. */
struct Damage {
    std::uint64_t fOffset = 0;
    std::string fText;  ///< a sentence that names the byte
};

class ChunkStore;
class MessagesImpl;
class NewestMessages;

/** Messages of a recording, one after the other. Valid as long as its reader. */
class Messages {
  public:
    explicit Messages(std::unique_ptr<MessagesImpl> impl);
    ~Messages();
    Messages(Messages&&) noexcept;
    Messages& operator=(Messages&&) noexcept;

    /**
     * Returns the next message, or nothing at the end. The message's data is valid until the next
     * call, and only as long as this object, which therefore must have a name.
     *
     * @throw RecordingError for a damaged chunk, and if chunks of more than a_largestOpenChunks
     *        bytes overlap in time
     */
    std::optional<Message> next() &;

  private:
    std::unique_ptr<MessagesImpl> fImpl;
};

/**
 * A recording that is read. The file is untrusted: what it claims is checked against its size and
 * the limits in records.h before memory is allocated or work is done.
 *
 * Opening reads the definitions and statistics in the file's summary, and messages() reads the
 * chunk index once and then only the chunks that it needs. A file without usable summary is read as
 * a whole when it is opened, up to the first byte that is not part of a whole record, and
 * afterwards as if it had its indexes.
 *
 * For one thread at a time. The file must not become shorter while it is read; it may grow, which
 * is not noticed.
 */
class Reader {
  public:
    /** Throws RecordingError for a file that cannot be opened or is not MCAP. */
    explicit Reader(const std::string& path, Access access = Access::Indexed);
    ~Reader();
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    const Header& header() const;
    const Statistics& statistics() const;
    const std::map<std::uint16_t, Schema>& schemas() const;
    const std::map<std::uint16_t, Channel>& channels() const;
    const std::vector<AttachmentIndex>& attachments() const;
    const std::vector<MetadataIndex>& metadata() const;
    std::uint64_t fileSize() const;

    /** Returns true if the file was opened through its summary. */
    bool isIndexed() const;

    /** Returns true if the file has its end and no damage was found so far. */
    bool isWhole() const;

    /**
     * Returns the compression of the first chunk if it cannot be read; empty otherwise, and for a
     * file without chunk index.
     */
    std::string unknownCompression() const;

    /** The first 100 damaged parts found when the file was read as a whole. */
    const std::vector<Damage>& damages() const;

    /** Throws RecordingError for an index that points elsewhere, and a wrong checksum. */
    Attachment readAttachment(const AttachmentIndex& index) const;
    Metadata readMetadata(const MetadataIndex& index) const;

    /** Throws RecordingError if the chunk index is damaged. */
    Messages messages(const Selection& selection = {});

    /**
     * Calls a function with the newest message of each channel at a log time: the one that
     * messages() would return last up to this time. Channels without such a message are left out.
     * The calls are in the order of messages(); a message's data is valid during its call.
     *
     * Reads the chunk of this time, and earlier ones only for channels that it does not contain.
     * Chunks whose index does not list their channels are read for every channel.
     *
     * @param goOn called before each chunk is read; false ends the search
     * @return false if `goOn` has ended the search; nothing was taken then
     * @throw RecordingError for a damaged chunk, and if the messages have more than
     *        a_largestOpenChunks bytes
     */
    bool newestAt(
        std::uint64_t time, const std::set<std::uint16_t>& channels,
        const std::function<void(const Message&)>& take,
        const std::function<bool()>& goOn = [] { return true; });

    /**
     * Returns the latest `count` log times before a time at which channels have messages, the
     * latest one first; fewer at the beginning of the file. Reads backwards only the chunks that
     * may have these messages.
     *
     * @param goOn called before each chunk is read; false ends the search
     * @return nothing if `goOn` has ended the search
     * @throw RecordingError for a damaged chunk
     */
    std::vector<std::uint64_t> timesBefore(
        std::uint64_t time, const std::set<std::uint16_t>& channels, std::size_t count,
        const std::function<bool()>& goOn = [] { return true; });

  private:
    std::unique_ptr<ChunkStore> fStore;
    std::unique_ptr<NewestMessages> fNewest;
};

}  // namespace recording

#endif
