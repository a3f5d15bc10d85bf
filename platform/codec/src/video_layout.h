#ifndef OBVISTA_CODEC_VIDEO_LAYOUT_H
#define OBVISTA_CODEC_VIDEO_LAYOUT_H

#include <picture/pixel_format.h>

#include <cstddef>
#include <cstdint>
#include <gst/video/video.h>
#include <memory>

namespace codec {

/** Returns GStreamer's description of rows of pixels. */
GstVideoInfo layoutOf(picture::PixelLayout layout, std::uint32_t width, std::uint32_t height,
                      std::size_t stride);

/** Returns that of YUV 4:2:0 in planes with docs/video.md's colours. */
GstVideoInfo planarLayout(std::uint32_t width, std::uint32_t height);

/** Sets docs/video.md's colours of YUV: BT.601, Y from 16 to 235. */
void setColours(GstVideoInfo& layout);

struct VideoConverterEnd {
    void operator()(GstVideoConverter* converter) const { gst_video_converter_free(converter); }
};
using VideoConverterPointer = std::unique_ptr<GstVideoConverter, VideoConverterEnd>;

/** Converts the pixels of a buffer to those of another one. @return false if one is too short */
bool convert(GstVideoConverter& converter, const GstVideoInfo& from, GstBuffer* source,
             const GstVideoInfo& to, GstBuffer* target);

}  // namespace codec

#endif
