#ifndef OBVISTA_CODEC_H264_ENCODER_H
#define OBVISTA_CODEC_H264_ENCODER_H

#include <picture/pixel_format.h>
#include <robaxi/kv_camera.h>
#include <robaxi/kv_frame.h>

#include <cstdint>
#include <memory>

namespace codec {

/**
 * Encodes pictures as the H.264 of docs/video.md, with GStreamer's x264enc or openh264enc: each
 * frame at once, without B frames, with a key frame every two seconds and on request. For one
 * thread at a time.
 */
class H264Encoder {
  public:
    /** Returns true if this computer has an encoder. From any thread. */
    static bool isAvailable();

    H264Encoder();
    ~H264Encoder();
    H264Encoder(const H264Encoder&) = delete;
    H264Encoder& operator=(const H264Encoder&) = delete;

    /**
     * Returns a frame without number and time. Another size or rate than before begins with a key
     * frame; another bit rate does not.
     *
     * @param rows of an even width and height, which are also those of the settings
     * @throws std::runtime_error if there is no encoder, or it fails
     */
    KVFrame encode(const picture::PixelRows& rows, const KVCameraSettings& settings,
                   bool isKeyWanted);

  private:
    struct Private;
    std::unique_ptr<Private> fPrivate;
    std::uint64_t fSequence = 0;
};

}  // namespace codec

#endif
