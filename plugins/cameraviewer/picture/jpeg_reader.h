#ifndef OBVISTA_CAMERAVIEWER_JPEG_READER_H
#define OBVISTA_CAMERAVIEWER_JPEG_READER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace cameraviewer {

enum class JpegColours {
    Grey,
    Colour,
    Inks  ///< CMYK or YCCK, made for printers
};

struct JpegHeader {
    std::uint32_t fWidth = 0;   ///< pixels
    std::uint32_t fHeight = 0;  ///< pixels
    JpegColours fColours = JpegColours::Colour;
};

/** Reads JPEGs that come from outside. It keeps its memory between pictures and belongs to one
 *  thread at a time. Its operations throw std::bad_alloc. */
class JpegReader {
  public:
    JpegReader();

    /** Reads no further than to where the picture begins; nothing when there is no JPEG header
     *  that this decoder understands. */
    std::optional<JpegHeader> readHeader(const unsigned char* data, std::size_t size);

    /**
     * Decodes a picture whose header has been read to one byte of grey a pixel.
     *
     * @param rows where the picture goes: stride bytes for each row
     * @return false when anything is wrong with the picture: damaged, ending early, or made of
     *         more passes than any camera needs (an attack on the processor). What has been written
     *         to rows by then is no picture.
     */
    bool decodeGrey(const unsigned char* data, std::size_t size, const JpegHeader& header,
                    unsigned char* rows, int stride);
    /** Like decodeGrey(), to QImage::Format_RGB32. */
    bool decodeRgb32(const unsigned char* data, std::size_t size, const JpegHeader& header,
                     unsigned char* rows, int stride);

  private:
    struct Release {
        void operator()(void* handle) const;
    };

    void xRenew();
    bool xDecode(const unsigned char* data, std::size_t size, const JpegHeader& header,
                 unsigned char* rows, int stride, int pixelFormat);

    std::unique_ptr<void, Release> fHandle;
};

}  // namespace cameraviewer

#endif
