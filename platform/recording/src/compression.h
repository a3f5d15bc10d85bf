#ifndef RECORDING_COMPRESSION_H
#define RECORDING_COMPRESSION_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <recording/writer.h>
#include <string>
#include <string_view>

namespace recording {

/** Bytes that are not initialised, so that a size that a file claims costs nothing by itself. */
class Buffer {
  public:
    /** Makes room for so many bytes; what was in it is lost. */
    char* reserve(std::size_t size);
    std::string_view bytes(std::size_t size) const { return {fBytes.get(), size}; }
    std::size_t capacity() const { return fCapacity; }

  private:
    std::unique_ptr<char[]> fBytes;
    std::size_t fCapacity = 0;
};

/** Returns true if compressed data claims to be larger than this library decompresses. */
bool isTooLarge(std::uint64_t uncompressed, std::uint64_t compressed);

/** The name of a compression in a file. */
std::string_view nameOf(Compression compression);
/** Returns true if a Decompressor can read a compression of this name. */
bool isKnownCompression(std::string_view name);
/** Returns the untrusted name of a compression for people. */
std::string shownCompression(std::string_view name);

/** Compresses chunks. For one thread. */
class Compressor {
  public:
    Compressor(Compression compression, int level);
    ~Compressor();
    Compressor(const Compressor&) = delete;
    Compressor& operator=(const Compressor&) = delete;

    struct Result {
        Compression fCompression =
            Compression::None;    ///< None for data that isTooLarge() otherwise
        std::string_view fBytes;  ///< until the next call; the data itself if not compressed
    };

    Result compress(std::string_view data);

  private:
    struct Contexts;
    const Compression fCompression;
    const std::unique_ptr<Contexts> fContexts;
    Buffer fBuffer;
};

/** Decompresses chunks. For one thread. */
class Decompressor {
  public:
    Decompressor();
    ~Decompressor();
    Decompressor(const Decompressor&) = delete;
    Decompressor& operator=(const Decompressor&) = delete;

    /**
     * Decompresses exactly `size` bytes.
     *
     * @param compression a name from the file, or "" for a copy
     * @return the end of a sentence about what is wrong, or an empty text
     */
    std::string decompress(std::string_view compression, std::string_view data, char* bytes,
                           std::size_t size);

  private:
    struct Contexts;
    const std::unique_ptr<Contexts> fContexts;
};

}  // namespace recording

#endif
