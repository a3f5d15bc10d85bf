#ifndef RECORDING_WRITER_H
#define RECORDING_WRITER_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <recording/records.h>
#include <string>

namespace recording {

enum class Compression { None, Zstd, Lz4 };

/** The behaviour of Writer::write() while more chunks wait for the disk than allowed. */
enum class Overflow {
    Wait,  ///< for programs that convert files
    Drop,  ///< for whoever must not be slowed down
};

struct WriterOptions {
    Header fHeader{"", "obvista"};
    Compression fCompression = Compression::Zstd;
    int fLevel = 1;                                   ///< of zstd
    std::size_t fChunkBytes = std::size_t{1} << 20U;  ///< a chunk is closed from this size on
    /** A chunk is closed at this age. Less than a second, so that a killed program loses no more
     *  than the last second even if compressing and writing take some time. */
    std::chrono::milliseconds fChunkAge{800};
    std::size_t fWaitingBytes = std::size_t{64} << 20U;  ///< most bytes that wait for the disk
    Overflow fOverflow = Overflow::Wait;
    bool fOverwrites = false;  ///< an existing file is refused otherwise
};

/** A snapshot of a writer's counters. */
struct WriterProgress {
    std::uint64_t fMessages = 0;      ///< in chunks that the kernel has
    std::uint64_t fFileBytes = 0;     ///< in the file
    std::uint64_t fWaitingBytes = 0;  ///< in chunks that wait for the disk
    std::uint64_t fDropped = 0;       ///< messages for which write() returned false
};

/**
 * A recording that is being written.
 *
 * All operations may be called from any thread at any time. A message is copied into the open chunk
 * under a lock that is never held while data is compressed or written: two threads owned by the
 * writer do both, and the chunks are in the file in their order. The file contains all whole chunks
 * at any moment, so a reader can open it even if the program is killed.
 *
 * After a write error (no space left, for instance) the file is cut off behind the last whole
 * record, and finish() completes it if there is space for the indexes. The operations throw the
 * error from then on.
 *
 * Memory: at most fWaitingBytes, a few chunks, the definitions, and 4 MiB of indexes; further
 * indexes go to an unnamed file beside the recording.
 */
class Writer {
  public:
    /** Creates the file. Throws RecordingError. */
    explicit Writer(const std::string& path, WriterOptions options = {});

    /** Finishes the file; an error that nobody has seen is lost. */
    ~Writer();
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    /** Adds a schema and returns its number. The texts become valid UTF-8. Throws RecordingError
     *  for the 65536th schema, and for one that is too large. */
    std::uint16_t addSchema(const std::string& name, const std::string& encoding,
                            const std::string& data);

    /**
     * Adds a channel and returns its number. The texts become valid UTF-8. Throws RecordingError
     * for the 65537th channel, one that is too large and one with an unknown schema.
     *
     * @param schemaId 0 for none
     */
    std::uint16_t addChannel(std::uint16_t schemaId, const std::string& topic,
                             const std::string& messageEncoding, const Texts& metadata = {});

    /**
     * Writes a message of a channel of this writer; the data is copied.
     *
     * @return false if the message was dropped (Overflow::Drop)
     * @throw RecordingError after a write error, after finish(), for an unknown channel, and for a
     *        message with more than a_largestMessage bytes
     */
    bool write(const Message& message);

    /** Writes a file into the recording. Waits for the disk. Throws RecordingError. */
    void writeAttachment(const Attachment& attachment);

    /** Writes a record of names and texts. Waits for the disk. Throws RecordingError. */
    void writeMetadata(const Metadata& metadata);

    /** Closes the open chunk and waits until the kernel has all data. Throws RecordingError. */
    void flush();

    /**
     * Writes everything that is left and the indexes, and closes the file. Does nothing when called
     * again. Throws the first RecordingError of this recording; the file is closed all the same.
     */
    void finish();

    WriterProgress progress() const;

    /** Returns the sentence of the first write error. */
    std::optional<std::string> error() const;

  private:
    class Impl;
    std::unique_ptr<Impl> fImpl;
};

}  // namespace recording

#endif
