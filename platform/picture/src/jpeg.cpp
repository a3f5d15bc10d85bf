#include "picture/jpeg.h"

#include <boost/predef/other/endian.h>

#include <new>
#include <turbojpeg.h>

namespace picture {

namespace {

JpegColours coloursOf(int colourSpace) {
    switch (colourSpace) {
        case TJCS_GRAY:
            return JpegColours::Grey;
        case TJCS_CMYK:
        case TJCS_YCCK:
            return JpegColours::Inks;
        default:
            return JpegColours::Colour;
    }
}

int pixelFormatOf(PixelLayout layout) {
    switch (layout) {
        case PixelLayout::Grey8:
            return TJPF_GRAY;
        case PixelLayout::Rgb888:
            return TJPF_RGB;
        case PixelLayout::Rgbx32:
            return TJPF_RGBX;
        case PixelLayout::Rgb32:
            break;
    }
#if BOOST_ENDIAN_LITTLE_BYTE
    return TJPF_BGRX;
#else
    return TJPF_XRGB;
#endif
}

int subsamplingOf(PixelLayout layout, JpegDetail detail) {
    if (layout == PixelLayout::Grey8) {
        return TJSAMP_GRAY;
    }
    switch (detail) {
        case JpegDetail::Full:
            return TJSAMP_444;
        case JpegDetail::Half:
            return TJSAMP_422;
        case JpegDetail::Quarter:
            break;
    }
    return TJSAMP_420;
}

bool compress(tjhandle library, const PixelRows& rows, JpegDetail detail, int quality, int flags,
              unsigned char** data, unsigned long* size) {
    return tjCompress2(library, rows.fBytes, static_cast<int>(rows.fWidth),
                       static_cast<int>(rows.fStride), static_cast<int>(rows.fHeight),
                       pixelFormatOf(rows.fLayout), data, size, subsamplingOf(rows.fLayout, detail),
                       quality, flags) == 0;
}

JpegLibrary checked(tjhandle library) {
    if (library == nullptr) {
        throw std::bad_alloc();
    }
    return JpegLibrary(library);
}

}  // namespace

void JpegLibraryEnd::operator()(void* handle) const {
    tjDestroy(handle);
}

JpegReader::JpegReader() {
    xRenew();
}

/**
 * After an error in a header the library is in the middle of it, and would refuse every following
 * picture.
 */
void JpegReader::xRenew() {
    fLibrary = checked(tjInitDecompress());
}

std::optional<JpegHeader> JpegReader::readHeader(const unsigned char* data, std::size_t size) {
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colourSpace = 0;
    const int result = tjDecompressHeader3(fLibrary.get(), data, size, &width, &height,
                                           &subsampling, &colourSpace);
    if (result != 0 || width <= 0 || height <= 0) {
        xRenew();
        return std::nullopt;
    }
    return JpegHeader{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height),
                      coloursOf(colourSpace)};
}

bool JpegReader::decode(const unsigned char* data, std::size_t size, std::uint32_t width,
                        std::uint32_t height, PixelLayout layout, unsigned char* rows,
                        std::size_t stride) {
    // For a truncated or damaged picture the library only warns, and fills in grey or previous
    // data. Such a picture is not what the camera saw.
    const int result = tjDecompress2(
        fLibrary.get(), data, size, rows, static_cast<int>(width), static_cast<int>(stride),
        static_cast<int>(height), pixelFormatOf(layout), TJFLAG_STOPONWARNING | TJFLAG_LIMITSCANS);
    if (result != 0) {
        xRenew();
    }
    return result == 0;
}

JpegWriter::JpegWriter() : fLibrary(checked(tjInitCompress())) {
}

JpegFile JpegWriter::write(const PixelRows& rows, JpegDetail detail) {
    unsigned char* data = nullptr;
    unsigned long size = 0;
    const bool isWritten = compress(fLibrary.get(), rows, detail, a_quality, 0, &data, &size);
    std::shared_ptr<const unsigned char> bytes(
        data, [](const unsigned char* memory) { tjFree(const_cast<unsigned char*>(memory)); });
    return isWritten ? JpegFile{std::move(bytes), size} : JpegFile();
}

std::size_t JpegWriter::maxSize(const PixelRows& rows, JpegDetail detail) {
    return tjBufSize(static_cast<int>(rows.fWidth), static_cast<int>(rows.fHeight),
                     subsamplingOf(rows.fLayout, detail));
}

std::size_t JpegWriter::write(const PixelRows& rows, JpegDetail detail, int quality,
                              unsigned char* target) {
    unsigned long size = maxSize(rows, detail);
    const bool isWritten =
        compress(fLibrary.get(), rows, detail, quality, TJFLAG_NOREALLOC, &target, &size);
    return isWritten ? size : 0;
}

std::string JpegWriter::error() const {
    return tjGetErrorStr2(fLibrary.get());
}

}  // namespace picture
