#include "video/device_camera.h"

#include "video/frame_encoder.h"

#include <base/buffer_pool.h>
#include <base/time.h>
#include <picture/pixel_format.h>

#include <algorithm>
#include <atomic>
#include <codec/gstreamer.h>
#include <codec/h264_encoder.h>
#include <cstring>
#include <gst/app/gstappsink.h>
#include <gst/video/video.h>
#include <utility>

namespace robot {

using codec::GStreamerPointer;
using codec::startGStreamer;
using picture::CameraMode;
using picture::CameraSettings;

namespace {

constexpr const char* a_sinkName = "frames";

bool offers(const CaptureMode& mode, const CameraSettings& settings) {
    return mode.fWidth == settings.fWidth && mode.fHeight == settings.fHeight &&
           std::find(mode.fRates.begin(), mode.fRates.end(), settings.fRate) != mode.fRates.end();
}

/**
 * Returns true if JPEGs are to be requested from the device: if they are wanted, or if it has no
 * raw pixels.
 */
bool takesJpeg(const CaptureDevice& device, const CameraSettings& settings) {
    const auto has = [&](bool jpeg) {
        return std::any_of(device.fModes.begin(), device.fModes.end(),
                           [&](const CaptureMode& mode) {
                               return mode.fIsJpeg == jpeg && offers(mode, settings);
                           });
    };
    return has(true) && (settings.fFormat == "jpeg" || !has(false));
}

/**
 * Returns true if FrameEncoder makes the wanted format from GStreamer's pixels: GStreamer's own
 * conversions between kinds of YUV ignore the range of the values, from 0 or from 16 up.
 */
bool isEncodedHere(const CaptureDevice& device, const CameraSettings& settings) {
    const bool jpeg = takesJpeg(device, settings);
    switch (picture::formatNamed(settings.fFormat)) {
        case KVPixelFormat::Rgb888:
            return false;
        case KVPixelFormat::Yuv422:
            return jpeg;
        case KVPixelFormat::Jpeg:
            return !jpeg;
        default:
            return true;
    }
}

std::string rateText(double rate) {
    int numerator = 0;
    int denominator = 1;
    gst_util_double_to_fraction(rate, &numerator, &denominator);
    return std::to_string(numerator) + '/' + std::to_string(denominator);
}

/** Returns the conversion from any pixels to the wanted ones, or to FrameEncoder's input. */
std::string conversion(const CaptureDevice& device, const CameraSettings& settings) {
    const std::string to = " ! videoconvert ! video/x-raw,format=";
    if (isEncodedHere(device, settings)) {
        return to + "RGBx";
    }
    return to + (settings.fFormat == "rgb" ? "RGB" : "YUY2,colorimetry=bt601");
}

std::vector<CameraMode> modesOf(const CaptureDevice& device) {
    std::vector<CameraMode> modes;
    for (const CaptureMode& captured : device.fModes) {
        const auto known = std::find_if(modes.begin(), modes.end(), [&](const CameraMode& mode) {
            return mode.fWidth == captured.fWidth && mode.fHeight == captured.fHeight;
        });
        if (known == modes.end()) {
            modes.push_back({captured.fWidth, captured.fHeight,
                             formatsOf(captured.fWidth, captured.fHeight), captured.fRates});
            continue;
        }
        std::vector<double> rates;
        std::set_union(known->fRates.begin(), known->fRates.end(), captured.fRates.begin(),
                       captured.fRates.end(), std::back_inserter(rates));
        known->fRates = rates;
    }
    std::sort(modes.begin(), modes.end(), [](const CameraMode& a, const CameraMode& b) {
        return a.fWidth * a.fHeight < b.fWidth * b.fHeight;
    });
    return modes;
}

/** Its first settings are those closest to 640x480 at thirty frames a second. */
picture::CameraInfo infoOf(const std::string& name, const CaptureDevice& device) {
    picture::CameraInfo info{name, device.fText, modesOf(device), {}};
    info.fSettings = picture::fittedSettings(info, {640, 480, "jpeg", 30});
    info.fSettings.fBitRate = firstBitRate();
    return info;
}

}  // namespace

std::string captureDescription(const CaptureDevice& device, const CameraSettings& settings) {
    const bool jpeg = takesJpeg(device, settings);
    const std::string size = ",width=" + std::to_string(settings.fWidth) +
                             ",height=" + std::to_string(settings.fHeight) +
                             ",framerate=" + rateText(settings.fRate);
    std::string description = device.fSource + (jpeg ? " ! image/jpeg" : " ! video/x-raw") + size;
    if (jpeg && settings.fFormat != "jpeg") {
        description += " ! jpegdec";
    }
    if (!jpeg || settings.fFormat != "jpeg") {
        description += conversion(device, settings);
    }
    // A frame that cannot be delivered at once is replaced by the next one.
    return description + " ! appsink sync=false max-buffers=1 drop=true name=" + a_sinkName;
}

/** A running GStreamer pipeline, from the device to the sink. */
class DeviceCamera::Pipeline {
  public:
    Pipeline(const CaptureDevice& device, const CameraSettings& settings, std::uint64_t number,
             Sink sink, IsKeyWanted isKeyWanted, std::function<void(const std::string&)> complain)
        : fSettings(settings),
          fBitRate(settings.fBitRate),
          fIsKeyWanted(std::move(isKeyWanted)),
          fIsEncodedHere(isEncodedHere(device, settings)),
          fNumber(number),
          fFrameSink(std::move(sink)),
          fComplain(std::move(complain)),
          fEncoder(fComplain) {
        GError* raw = nullptr;
        fPipeline.reset(gst_parse_launch(captureDescription(device, settings).c_str(), &raw));
        const GStreamerPointer<GError> error(raw);
        if (error) {
            fComplain("a camera cannot be used: " + std::string(error->message));
            fPipeline.reset();
            return;
        }
        const GStreamerPointer<GstBus> bus(gst_element_get_bus(fPipeline.get()));
        gst_bus_set_sync_handler(bus.get(), xOnMessage, this, nullptr);
        const GStreamerPointer<GstElement> last(
            gst_bin_get_by_name(GST_BIN(fPipeline.get()), a_sinkName));
        GstAppSinkCallbacks callbacks{};
        callbacks.new_sample = xOnSample;
        gst_app_sink_set_callbacks(GST_APP_SINK(last.get()), &callbacks, this, nullptr);
        gst_element_set_state(fPipeline.get(), GST_STATE_PLAYING);
    }

    ~Pipeline() { end(); }

    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;

    /** Applies from the next frame on. */
    void setBitRate(int bitRate) { fBitRate = bitRate; }

    /** Returns when the sink is not being called. @return number of the last frame */
    std::uint64_t end() {
        if (fPipeline) {
            gst_element_set_state(fPipeline.get(), GST_STATE_NULL);
            const GStreamerPointer<GstBus> bus(gst_element_get_bus(fPipeline.get()));
            gst_bus_set_sync_handler(bus.get(), nullptr, nullptr, nullptr);
            fPipeline.reset();
        }
        return fNumber;
    }

  private:
    static GstBusSyncReply xOnMessage(GstBus*, GstMessage* message, gpointer self) {
        if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
            GError* raw = nullptr;
            gst_message_parse_error(message, &raw, nullptr);
            const GStreamerPointer<GError> error(raw);
            static_cast<Pipeline*>(self)->fComplain("a camera failed: " +
                                                    std::string(error->message));
        }
        gst_message_unref(message);
        return GST_BUS_DROP;
    }

    static GstFlowReturn xOnSample(GstAppSink* sink, gpointer self) {
        const GStreamerPointer<GstSample> sample(gst_app_sink_pull_sample(sink));
        if (sample) {
            static_cast<Pipeline*>(self)->xTake(sample.get());
        }
        return GST_FLOW_OK;
    }

    void xTake(GstSample* sample) {
        GstBuffer* const buffer = gst_sample_get_buffer(sample);
        GstMapInfo map{};
        if (buffer == nullptr || gst_buffer_map(buffer, &map, GST_MAP_READ) == FALSE) {
            return;
        }
        const std::size_t stride = xStrideOf(sample);
        KVFrame frame = fIsEncodedHere ? xEncode(map, stride) : xCopy(map, stride);
        frame.fNumber = ++fNumber;
        frame.fTime = base::microsecondsNow() - xAge(buffer);
        gst_buffer_unmap(buffer, &map);
        if (frame.fData) {
            fFrameSink(frame);
        }
    }

    /** Copies the frame, since the driver has few buffers and needs them back. */
    KVFrame xCopy(const GstMapInfo& map, std::size_t stride) {
        const std::shared_ptr<unsigned char> bytes = fPool.obtain(map.size);
        std::memcpy(bytes.get(), map.data, map.size);
        KVFrame frame;
        frame.fWidth = static_cast<std::uint32_t>(fSettings.fWidth);
        frame.fHeight = static_cast<std::uint32_t>(fSettings.fHeight);
        frame.fFormat = picture::formatNamed(fSettings.fFormat);
        frame.fStride = static_cast<std::uint32_t>(stride);
        frame.fSize = map.size;
        frame.fData = bytes;
        return frame;
    }

    KVFrame xEncode(const GstMapInfo& map, std::size_t stride) {
        fCanvas.resize(fSettings.fWidth, fSettings.fHeight);
        const std::size_t row = sizeof(Colour) * static_cast<std::size_t>(fSettings.fWidth);
        for (int y = 0; y < fSettings.fHeight; ++y) {
            std::memcpy(fCanvas.row(y), map.data + stride * static_cast<std::size_t>(y), row);
        }
        CameraSettings settings = fSettings;
        settings.fBitRate = fBitRate;
        return fEncoder.encode(fCanvas, settings, fIsKeyWanted());
    }

    /** Returns the microseconds since the picture was taken. */
    std::int64_t xAge(GstBuffer* buffer) const {
        const GstClockTime now = gst_element_get_current_running_time(fPipeline.get());
        const GstClockTime taken = GST_BUFFER_PTS(buffer);
        if (!GST_CLOCK_TIME_IS_VALID(now) || !GST_CLOCK_TIME_IS_VALID(taken) || taken > now) {
            return 0;
        }
        return static_cast<std::int64_t>(now - taken) / base::a_nanosecondsPerMicrosecond;
    }

    /** Returns the bytes from one row to the next; 0 for a JPEG. */
    static std::size_t xStrideOf(GstSample* sample) {
        GstCaps* const caps = gst_sample_get_caps(sample);
        GstVideoInfo info;
        if (gst_structure_has_name(gst_caps_get_structure(caps, 0), "video/x-raw") == FALSE ||
            gst_video_info_from_caps(&info, caps) == FALSE) {
            return 0;
        }
        return static_cast<std::size_t>(GST_VIDEO_INFO_PLANE_STRIDE(&info, 0));
    }

    const CameraSettings fSettings;
    std::atomic<int> fBitRate;
    const IsKeyWanted fIsKeyWanted;
    const bool fIsEncodedHere;
    std::uint64_t fNumber;  // used by the streaming thread while it runs
    const Sink fFrameSink;
    const std::function<void(const std::string&)> fComplain;
    base::BufferPool fPool{4};
    Canvas fCanvas;
    FrameEncoder fEncoder;
    GStreamerPointer<GstElement> fPipeline;
};

DeviceCamera::DeviceCamera(const std::string& name, const CaptureDevice& device,
                           std::function<void(const std::string&)> complain)
    : fDescription(infoOf(name, device)),
      fDevice(device),
      fComplain(std::move(complain)),
      fSettings(fDescription.fSettings) {
    startGStreamer();
}

DeviceCamera::~DeviceCamera() = default;

CameraSettings DeviceCamera::settings() const {
    const std::lock_guard lock(fMutex);
    return fSettings;
}

void DeviceCamera::apply(const CameraSettings& settings) {
    const std::lock_guard lock(fMutex);
    if (settings == fSettings) {
        return;
    }
    CameraSettings before = fSettings;
    before.fBitRate = settings.fBitRate;
    fSettings = settings;
    if (fPipeline && before == settings) {
        fPipeline->setBitRate(settings.fBitRate);
    } else if (fSink) {
        xStartPipeline();
    }
}

void DeviceCamera::start(Sink sink, IsKeyWanted isKeyWanted) {
    const std::lock_guard lock(fMutex);
    if (fSink) {
        return;
    }
    fSink = std::move(sink);
    fIsKeyWanted = std::move(isKeyWanted);
    xStartPipeline();
}

void DeviceCamera::stop() {
    const std::lock_guard lock(fMutex);
    fSink = {};
    xEndPipeline();
}

void DeviceCamera::xStartPipeline() {
    xEndPipeline();
    fPipeline =
        std::make_unique<Pipeline>(fDevice, fSettings, fNumber, fSink, fIsKeyWanted, fComplain);
}

void DeviceCamera::xEndPipeline() {
    if (fPipeline) {
        fNumber = fPipeline->end();
        fPipeline.reset();
    }
}

}  // namespace robot
