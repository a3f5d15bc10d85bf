#include "picture/frame_decoder.h"

#include "picture/colours.h"
#include "picture/jpeg.h"

#include <cstring>

namespace picture {

bool decode(const CheckedFrame& frame, JpegReader& reader, PixelLayout layout, unsigned char* rows,
            std::size_t stride) {
    const KVFrame& source = frame.frame();
    const unsigned char* from = source.fData.get();
    if (source.fFormat == KVPixelFormat::Jpeg) {
        return reader.decode(from, source.fSize, source.fWidth, source.fHeight, layout, rows,
                             stride);
    }
    const std::size_t length = std::size_t{source.fWidth} * bytesPerPixel(source.fFormat);
    for (std::uint32_t y = 0; y < source.fHeight; ++y) {
        if (source.fFormat == KVPixelFormat::Yuv422) {
            convertYuv422Row(from, source.fWidth, layout, rows);
        } else {
            std::memcpy(rows, from, length);
        }
        from += source.fStride;
        rows += stride;
    }
    return true;
}

}  // namespace picture
