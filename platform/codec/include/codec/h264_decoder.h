#ifndef OBVISTA_CODEC_H264_DECODER_H
#define OBVISTA_CODEC_H264_DECODER_H

#include <picture/frame_check.h>
#include <picture/pixel_format.h>

#include <cstddef>
#include <memory>

namespace codec {

/**
 * Decodes untrusted H.264 frames with GStreamer's avdec_h264 or openh264dec. It has the last
 * decoded picture, and is for one thread at a time.
 *
 * The caller passes frames that KVFrameChain accepts: a first key frame, and then each one.
 */
class H264Decoder {
  public:
    H264Decoder();
    ~H264Decoder();
    H264Decoder(const H264Decoder&) = delete;
    H264Decoder& operator=(const H264Decoder&) = delete;

    /**
     * Decodes a frame without a fault.
     *
     * @return BadH264 or NoH264Decoder; the following frames can be decoded from a key frame on
     */
    picture::FrameFault decode(const picture::CheckedFrame& frame);

    /**
     * Converts the picture of the last decode(), which succeeded.
     *
     * @param rows stride bytes for each row, see picture::decode()
     * @return false if it cannot be converted
     */
    bool read(picture::PixelLayout layout, unsigned char* rows, std::size_t stride);

    /** Returns the decoder's memory. The next frame is a key frame. */
    void reset();

  private:
    struct Private;
    std::unique_ptr<Private> fPrivate;
};

}  // namespace codec

#endif
