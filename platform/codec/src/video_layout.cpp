#include "video_layout.h"

namespace codec {

namespace {

GstVideoFormat formatOf(picture::PixelLayout layout) {
    switch (layout) {
        case picture::PixelLayout::Grey8:
            return GST_VIDEO_FORMAT_GRAY8;
        case picture::PixelLayout::Rgb888:
            return GST_VIDEO_FORMAT_RGB;
        case picture::PixelLayout::Rgbx32:
            return GST_VIDEO_FORMAT_RGBx;
        case picture::PixelLayout::Rgb32:
            break;
    }
    return G_BYTE_ORDER == G_LITTLE_ENDIAN ? GST_VIDEO_FORMAT_BGRx : GST_VIDEO_FORMAT_xRGB;
}

/** The frame of a buffer while it is mapped. */
class MappedFrame {
  public:
    MappedFrame(const GstVideoInfo& layout, GstBuffer* buffer, GstMapFlags access) {
        fIsMapped = gst_video_frame_map(&fFrame, &layout, buffer, access) != FALSE;
    }
    ~MappedFrame() {
        if (fIsMapped) {
            gst_video_frame_unmap(&fFrame);
        }
    }
    MappedFrame(const MappedFrame&) = delete;
    MappedFrame& operator=(const MappedFrame&) = delete;

    bool isMapped() const { return fIsMapped; }
    GstVideoFrame* frame() { return &fFrame; }

  private:
    GstVideoFrame fFrame{};
    bool fIsMapped = false;
};

}  // namespace

GstVideoInfo layoutOf(picture::PixelLayout layout, std::uint32_t width, std::uint32_t height,
                      std::size_t stride) {
    GstVideoInfo info;
    gst_video_info_set_format(&info, formatOf(layout), width, height);
    info.stride[0] = static_cast<gint>(stride);
    info.size = stride * height;
    return info;
}

GstVideoInfo planarLayout(std::uint32_t width, std::uint32_t height) {
    GstVideoInfo info;
    gst_video_info_set_format(&info, GST_VIDEO_FORMAT_I420, width, height);
    setColours(info);
    return info;
}

void setColours(GstVideoInfo& layout) {
    gst_video_colorimetry_from_string(&layout.colorimetry, GST_VIDEO_COLORIMETRY_BT601);
}

bool convert(GstVideoConverter& converter, const GstVideoInfo& from, GstBuffer* source,
             const GstVideoInfo& to, GstBuffer* target) {
    MappedFrame input(from, source, GST_MAP_READ);
    MappedFrame output(to, target, GST_MAP_WRITE);
    if (!input.isMapped() || !output.isMapped()) {
        return false;
    }
    gst_video_converter_frame(&converter, input.frame(), output.frame());
    return true;
}

}  // namespace codec
