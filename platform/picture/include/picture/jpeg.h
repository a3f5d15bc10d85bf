#ifndef OBVISTA_PICTURE_JPEG_H
#define OBVISTA_PICTURE_JPEG_H

#include "picture/pixel_format.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace picture {

enum class JpegColours {
    Grey,
    Colour,
    Inks  ///< CMYK or YCCK, for printing
};

struct JpegHeader {
    std::uint32_t fWidth = 0;   ///< pixels
    std::uint32_t fHeight = 0;  ///< pixels
    JpegColours fColours = JpegColours::Colour;
};

struct JpegLibraryEnd {
    void operator()(void* handle) const;
};
/** An instance of the JPEG library. */
using JpegLibrary = std::unique_ptr<void, JpegLibraryEnd>;

/**
 * Decodes untrusted JPEGs. It keeps its memory between pictures and is for one thread at a time.
 * Its operations throw std::bad_alloc.
 */
class JpegReader {
  public:
    JpegReader();

    /**
     * Reads only up to the beginning of the picture; returns nothing if there is no JPEG header
     * that this decoder supports.
     */
    std::optional<JpegHeader> readHeader(const unsigned char* data, std::size_t size);

    /**
     * Decodes a picture whose header has been read.
     *
     * @param width of the header
     * @param height of the header
     * @param layout of the rows
     * @param rows where the picture goes: stride bytes for each row
     * @return false when anything is wrong with the picture: damaged, ending early, or made of
     *         more passes than any camera needs (an attack on the processor). What has been written
     *         to rows by then is not a valid picture.
     */
    bool decode(const unsigned char* data, std::size_t size, std::uint32_t width,
                std::uint32_t height, PixelLayout layout, unsigned char* rows, std::size_t stride);

  private:
    void xRenew();

    JpegLibrary fLibrary;
};

/** Colour resolution of a JPEG. Grey pictures have no colours. */
enum class JpegDetail {
    Full,    ///< a colour for each pixel (4:4:4)
    Half,    ///< one for two pixels side by side (4:2:2)
    Quarter  ///< one for a square of four pixels (4:2:0)
};

struct JpegFile {
    std::shared_ptr<const unsigned char> fData;  ///< fSize bytes
    std::size_t fSize = 0;
};

/** Makes JPEGs. It belongs to one thread at a time. */
class JpegWriter {
  public:
    /** Of 100. Differences from the original are invisible at this quality. */
    static constexpr int a_quality = 95;

    /** @throws std::bad_alloc */
    JpegWriter();

    /** @return no data when the picture has a side above 65,535, the most a JPEG can have, or
     *          memory is short; error() then says why */
    JpegFile write(const PixelRows& rows, JpegDetail detail);

    /** Returns the maximum size of a JPEG with this width and height in bytes. */
    static std::size_t maxSize(const PixelRows& rows, JpegDetail detail);

    /**
     * Encodes a JPEG into memory of the caller.
     *
     * @param target maxSize() bytes
     * @param quality of 100
     * @return the number of bytes that it took; 0 where write() returns no data
     */
    std::size_t write(const PixelRows& rows, JpegDetail detail, int quality, unsigned char* target);

    /** The library's reason for the last failure. */
    std::string error() const;

  private:
    JpegLibrary fLibrary;
};

}  // namespace picture

#endif
