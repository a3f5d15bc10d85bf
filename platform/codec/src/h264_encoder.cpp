#include "codec/h264_encoder.h"

#include "codec/gstreamer.h"
#include "element_run.h"
#include "video_layout.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string>

namespace codec {

namespace {

constexpr double a_keyFrameDistance = 2;  // seconds
constexpr int a_usualBitRate = 1'000'000;
constexpr int a_kilo = 1000;
/** A file rarely shows a better picture than at this quantizer, but needs more bytes for it. */
constexpr int a_bestQuantizer = 16;
constexpr int a_bufferedMilliseconds = 600;

GStreamerPointer<GstElement> makeEncoder() {
    startGStreamer();
    for (const char* const name : {"x264enc", "openh264enc"}) {
        if (GstElement* const element = gst_element_factory_make(name, nullptr)) {
            gst_object_ref_sink(element);
            return GStreamerPointer<GstElement>(element);
        }
    }
    return nullptr;
}

bool isNamed(GstElement* element, const char* name) {
    return std::strcmp(GST_OBJECT_NAME(gst_element_get_factory(element)), name) == 0;
}

void setBitRate(GstElement* element, int bitRate) {
    if (isNamed(element, "x264enc")) {
        g_object_set(element, "bitrate", static_cast<guint>(bitRate / a_kilo), nullptr);
    } else {
        g_object_set(element, "bitrate", static_cast<guint>(bitRate), "max-bitrate",
                     static_cast<guint>(bitRate), nullptr);
    }
}

void setUp(GstElement* element, const KVCameraSettings& settings) {
    const auto distance =
        static_cast<guint>(std::max(1.0, std::round(settings.fRate * a_keyFrameDistance)));
    if (isNamed(element, "x264enc")) {
        gst_util_set_object_arg(G_OBJECT(element), "tune", "zerolatency");
        gst_util_set_object_arg(G_OBJECT(element), "speed-preset", "veryfast");
        g_object_set(element, "key-int-max", distance, "bframes", 0U, "threads", 1U,
                     "vbv-buf-capacity", static_cast<guint>(a_bufferedMilliseconds), "qp-min",
                     static_cast<guint>(a_bestQuantizer), nullptr);
    } else {
        gst_util_set_object_arg(G_OBJECT(element), "rate-control", "bitrate");
        g_object_set(element, "gop-size", distance, "multi-thread", 1U, "scene-change-detection",
                     FALSE, nullptr);
    }
    setBitRate(element, settings.fBitRate);
}

std::string rawCaps(const KVCameraSettings& settings) {
    int numerator = 0;
    int denominator = 1;
    gst_util_double_to_fraction(settings.fRate, &numerator, &denominator);
    return "video/x-raw,format=I420,colorimetry=bt601,interlace-mode=progressive,"
           "pixel-aspect-ratio=1/1,width=" +
           std::to_string(settings.fWidth) + ",height=" + std::to_string(settings.fHeight) +
           ",framerate=" + std::to_string(numerator) + '/' + std::to_string(denominator);
}

std::string encodedCaps(GstElement* element) {
    const std::string caps = "video/x-h264,stream-format=byte-stream,alignment=au";
    return isNamed(element, "x264enc") ? caps + ",profile=high" : caps;
}

bool find() {
    try {
        return makeEncoder() != nullptr;
    } catch (const std::runtime_error&) {
        return false;
    }
}

/** Returns a buffer of memory that outlives it. */
BufferPointer wrap(const picture::PixelRows& rows) {
    auto* const bytes = const_cast<unsigned char*>(rows.fBytes);
    const std::size_t size = rows.fStride * rows.fHeight;
    return BufferPointer(gst_buffer_new_wrapped_full(GST_MEMORY_FLAG_READONLY, bytes, size, 0, size,
                                                     nullptr, nullptr));
}

/** Returns the frame of an encoded buffer, without a copy of its bytes. */
KVFrame frameOf(BufferPointer buffer) {
    /** A buffer while it is mapped. */
    struct Mapped {
        explicit Mapped(BufferPointer buffer) : fBuffer(std::move(buffer)) {
            if (gst_buffer_map(fBuffer.get(), &fMap, GST_MAP_READ) == FALSE) {
                throw std::runtime_error("an encoded picture cannot be read");
            }
        }
        ~Mapped() { gst_buffer_unmap(fBuffer.get(), &fMap); }
        Mapped(const Mapped&) = delete;
        Mapped& operator=(const Mapped&) = delete;

        BufferPointer fBuffer;
        GstMapInfo fMap{};
    };
    KVFrame frame;
    frame.fFormat = KVPixelFormat::H264;
    frame.fIsKey = !GST_BUFFER_FLAG_IS_SET(buffer.get(), GST_BUFFER_FLAG_DELTA_UNIT);
    const auto mapped = std::make_shared<Mapped>(std::move(buffer));
    frame.fSize = mapped->fMap.size;
    frame.fData = {mapped, mapped->fMap.data};
    return frame;
}

}  // namespace

/** A running encoder. */
struct H264Encoder::Private {
    Private(GStreamerPointer<GstElement> element, const picture::PixelRows& rows,
            const KVCameraSettings& settings)
        : fSettings(settings),
          fStride(rows.fStride),
          fLayout(rows.fLayout),
          fFrom(layoutOf(rows.fLayout, rows.fWidth, rows.fHeight, rows.fStride)),
          fTo(planarLayout(rows.fWidth, rows.fHeight)),
          fConverter(gst_video_converter_new(&fFrom, &fTo, nullptr)) {
        if (!fConverter) {
            throw std::runtime_error("pictures cannot be converted for the H.264 encoder");
        }
        setUp(element.get(), settings);
        const std::string output = encodedCaps(element.get());
        fRun = std::make_unique<ElementRun>(std::move(element), rawCaps(settings), output);
    }

    bool suits(const picture::PixelRows& rows, const KVCameraSettings& settings) const {
        return fSettings.fWidth == settings.fWidth && fSettings.fHeight == settings.fHeight &&
               fSettings.fRate == settings.fRate && fStride == rows.fStride &&
               fLayout == rows.fLayout;
    }

    KVCameraSettings fSettings;
    const std::size_t fStride;
    const picture::PixelLayout fLayout;
    const GstVideoInfo fFrom;
    const GstVideoInfo fTo;
    const VideoConverterPointer fConverter;
    std::unique_ptr<ElementRun> fRun;
    std::uint64_t fFrames = 0;
};

bool H264Encoder::isAvailable() {
    static const bool isFound = find();
    return isFound;
}

H264Encoder::H264Encoder() = default;
H264Encoder::~H264Encoder() = default;

KVFrame H264Encoder::encode(const picture::PixelRows& rows, const KVCameraSettings& given,
                            bool isKeyWanted) {
    KVCameraSettings settings = given;
    settings.fBitRate = settings.fBitRate > 0 ? settings.fBitRate : a_usualBitRate;
    if (!fPrivate || !fPrivate->suits(rows, settings)) {
        GStreamerPointer<GstElement> element = makeEncoder();
        if (!element) {
            throw std::runtime_error("GStreamer has no encoder of H.264");
        }
        fPrivate = std::make_unique<Private>(std::move(element), rows, settings);
    }
    Private& encoder = *fPrivate;
    if (encoder.fSettings.fBitRate != settings.fBitRate) {
        encoder.fSettings.fBitRate = settings.fBitRate;
        setBitRate(encoder.fRun->element(), settings.fBitRate);
    }
    if (isKeyWanted) {
        encoder.fRun->sendUpstream(
            gst_video_event_new_upstream_force_key_unit(GST_CLOCK_TIME_NONE, TRUE, 0));
    }
    BufferPointer planes(gst_buffer_new_allocate(nullptr, encoder.fTo.size, nullptr));
    const BufferPointer source = wrap(rows);
    const bool isConverted =
        convert(*encoder.fConverter, encoder.fFrom, source.get(), encoder.fTo, planes.get());
    const double period = GST_SECOND / settings.fRate;
    GST_BUFFER_PTS(planes.get()) =
        static_cast<GstClockTime>(static_cast<double>(encoder.fFrames++) * period);
    GST_BUFFER_DURATION(planes.get()) = static_cast<GstClockTime>(period);
    const bool isEncoded = isConverted && encoder.fRun->push(std::move(planes));
    BufferPointer made = encoder.fRun->take();
    if (!isEncoded || !made) {
        fPrivate.reset();
        throw std::runtime_error("a picture cannot be encoded as H.264");
    }
    KVFrame frame = frameOf(std::move(made));
    frame.fWidth = rows.fWidth;
    frame.fHeight = rows.fHeight;
    frame.fSequence = ++fSequence;
    return frame;
}

}  // namespace codec
