#include "jpeg_reader.h"

#include "jpeg_pixels.h"

#include <new>

namespace cameraviewer {
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

}  // namespace

void JpegReader::Release::operator()(void* handle) const {
    tjDestroy(handle);
}

JpegReader::JpegReader() {
    xRenew();
}

/** After an error in a header the library is left in the middle of it, and would refuse every
 *  picture that follows. */
void JpegReader::xRenew() {
    fHandle.reset(tjInitDecompress());
    if (!fHandle) {
        throw std::bad_alloc();
    }
}

std::optional<JpegHeader> JpegReader::readHeader(const unsigned char* data, std::size_t size) {
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colourSpace = 0;
    const int result =
        tjDecompressHeader3(fHandle.get(), data, size, &width, &height, &subsampling, &colourSpace);
    if (result != 0 || width <= 0 || height <= 0) {
        xRenew();
        return std::nullopt;
    }
    return JpegHeader{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height),
                      coloursOf(colourSpace)};
}

bool JpegReader::decodeGrey(const unsigned char* data, std::size_t size, const JpegHeader& header,
                            unsigned char* rows, int stride) {
    return xDecode(data, size, header, rows, stride, TJPF_GRAY);
}

bool JpegReader::decodeRgb32(const unsigned char* data, std::size_t size, const JpegHeader& header,
                             unsigned char* rows, int stride) {
    return xDecode(data, size, header, rows, stride, a_jpegRgb32);
}

bool JpegReader::xDecode(const unsigned char* data, std::size_t size, const JpegHeader& header,
                         unsigned char* rows, int stride, int pixelFormat) {
    // The library only warns of a picture that ends early or is damaged, and fills what is missing
    // with grey or with what came before. Such a picture is not what the camera saw.
    const int result = tjDecompress2(
        fHandle.get(), data, size, rows, static_cast<int>(header.fWidth), stride,
        static_cast<int>(header.fHeight), pixelFormat, TJFLAG_STOPONWARNING | TJFLAG_LIMITSCANS);
    if (result != 0) {
        xRenew();
    }
    return result == 0;
}

}  // namespace cameraviewer
