#include "codec/h264_decoder.h"

#include "codec/gstreamer.h"
#include "element_run.h"
#include "video_layout.h"

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

namespace codec {

using picture::FrameFault;

namespace {

using Bytes = std::shared_ptr<const unsigned char>;

/** On this thread only, so that each picture is there when its frame was decoded. */
GStreamerPointer<GstElement> makeDecoder() {
    startGStreamer();
    for (const char* const name : {"avdec_h264", "openh264dec"}) {
        if (GstElement* const element = gst_element_factory_make(name, nullptr)) {
            gst_object_ref_sink(element);
            if (std::strcmp(name, "avdec_h264") == 0) {
                g_object_set(element, "max-threads", 1, "output-corrupt", FALSE, nullptr);
            }
            return GStreamerPointer<GstElement>(element);
        }
    }
    return nullptr;
}

std::string encodedCaps(const KVFrame& frame) {
    return "video/x-h264,stream-format=byte-stream,alignment=au,parsed=true,width=" +
           std::to_string(frame.fWidth) + ",height=" + std::to_string(frame.fHeight);
}

BufferPointer wrap(const KVFrame& frame) {
    auto* const data = const_cast<unsigned char*>(frame.fData.get());
    BufferPointer buffer(gst_buffer_new_wrapped_full(
        GST_MEMORY_FLAG_READONLY, data, frame.fSize, 0, frame.fSize, new Bytes(frame.fData),
        [](gpointer bytes) { delete static_cast<Bytes*>(bytes); }));
    if (!frame.fIsKey) {
        GST_BUFFER_FLAG_SET(buffer.get(), GST_BUFFER_FLAG_DELTA_UNIT);
    }
    return buffer;
}

}  // namespace

/** A running decoder of pictures of one size. */
struct H264Decoder::Private {
    Private(GStreamerPointer<GstElement> element, const KVFrame& frame)
        : fWidth(frame.fWidth),
          fHeight(frame.fHeight),
          fRun(std::move(element), encodedCaps(frame), "video/x-raw") {
        gst_video_info_init(&fFrom);
        gst_video_info_init(&fTo);
    }

    FrameFault decode(const KVFrame& frame) {
        BufferPointer buffer = wrap(frame);
        // Decoders put pictures in the order of these times.
        GST_BUFFER_PTS(buffer.get()) = ++fFrames * GST_MSECOND;
        GST_BUFFER_DTS(buffer.get()) = GST_BUFFER_PTS(buffer.get());
        const bool isPushed = fRun.push(std::move(buffer));
        fPicture = fRun.take();
        if (!isPushed || !fPicture || !xReadLayout()) {
            return FrameFault::BadH264;
        }
        return FrameFault::None;
    }

    bool read(picture::PixelLayout layout, unsigned char* rows, std::size_t stride) {
        if (!fPicture) {
            return false;
        }
        const GstVideoInfo to = layoutOf(layout, fWidth, fHeight, stride);
        if (!fConverter || gst_video_info_is_equal(&to, &fTo) == FALSE) {
            fTo = to;
            fConverter.reset(gst_video_converter_new(&fFrom, &fTo, nullptr));
        }
        const BufferPointer target(gst_buffer_new_wrapped_full(
            static_cast<GstMemoryFlags>(0), rows, to.size, 0, to.size, nullptr, nullptr));
        return fConverter && convert(*fConverter, fFrom, fPicture.get(), fTo, target.get());
    }

  private:
    /** Returns false for pictures of another kind or size than the frame was checked to have. */
    bool xReadLayout() {
        GstVideoInfo layout;
        if (fRun.caps() == nullptr || gst_video_info_from_caps(&layout, fRun.caps()) == FALSE ||
            GST_VIDEO_INFO_FORMAT(&layout) != GST_VIDEO_FORMAT_I420 ||
            static_cast<std::uint32_t>(GST_VIDEO_INFO_WIDTH(&layout)) != fWidth ||
            static_cast<std::uint32_t>(GST_VIDEO_INFO_HEIGHT(&layout)) != fHeight) {
            return false;
        }
        setColours(layout);
        // A converter accepts only equal ones.
        layout.fps_n = 0;
        layout.fps_d = 1;
        if (gst_video_info_is_equal(&layout, &fFrom) == FALSE) {
            fFrom = layout;
            fConverter.reset();
        }
        return true;
    }

  public:
    const std::uint32_t fWidth;
    const std::uint32_t fHeight;

  private:
    ElementRun fRun;
    std::uint64_t fFrames = 0;
    BufferPointer fPicture;
    GstVideoInfo fFrom;
    GstVideoInfo fTo;
    VideoConverterPointer fConverter;
};

H264Decoder::H264Decoder() = default;
H264Decoder::~H264Decoder() = default;

FrameFault H264Decoder::decode(const picture::CheckedFrame& checked) {
    const KVFrame& frame = checked.frame();
    try {
        // A decoder never sees another size than it began with.
        if (!fPrivate || fPrivate->fWidth != frame.fWidth || fPrivate->fHeight != frame.fHeight) {
            fPrivate.reset();
            GStreamerPointer<GstElement> element = makeDecoder();
            if (!element) {
                return FrameFault::NoH264Decoder;
            }
            fPrivate = std::make_unique<Private>(std::move(element), frame);
        }
    } catch (const std::runtime_error&) {
        return FrameFault::NoH264Decoder;
    }
    const FrameFault fault = fPrivate->decode(frame);
    if (fault != FrameFault::None) {
        fPrivate.reset();
    }
    return fault;
}

bool H264Decoder::read(picture::PixelLayout layout, unsigned char* rows, std::size_t stride) {
    return fPrivate && fPrivate->read(layout, rows, stride);
}

void H264Decoder::reset() {
    fPrivate.reset();
}

}  // namespace codec
