#ifndef OBVISTA_TOOLS_ROBAXI_SNAPSHOT_PIXELS_H
#define OBVISTA_TOOLS_ROBAXI_SNAPSHOT_PIXELS_H

#include "process/failure.h"

#include <picture/frame_check.h>
#include <picture/jpeg.h>
#include <picture/pixel_format.h>
#include <robaxi/kv_frame.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace robaxi_tool {

/** A picture of 8 bits a channel: rows from top to bottom, one behind the other without a gap. */
struct Pixels {
    enum class Channels { Grey = 1, Rgb = 3 };

    Pixels(std::uint32_t width, std::uint32_t height, Channels channels);

    std::size_t rowSize() const;  ///< bytes
    picture::PixelLayout layout() const;

    std::uint32_t fWidth;
    std::uint32_t fHeight;
    Channels fChannels;
    std::vector<unsigned char> fBytes;
};

/** This computer has no decoder of H.264. */
class NoDecoder : public Failure {
  public:
    NoDecoder() : Failure(ExitStatus::BadPicture, faultText(picture::FrameFault::NoH264Decoder)) {}
};

class H264Pixels;

/**
 * Decodes frames. Whatever a frame claims is checked before it is relied on; a JPEG is decoded to
 * its end. H.264 frames are passed in the order of KVFrameChain, after a failure from a key frame
 * on.
 */
class PixelReader {
  public:
    PixelReader();
    ~PixelReader();
    PixelReader(const PixelReader&) = delete;
    PixelReader& operator=(const PixelReader&) = delete;

    /** @throws NoDecoder, Failure BadPicture with the fault */
    Pixels read(const KVFrame& frame);
    /** Decodes an H.264 frame whose pixels are not needed. @throws NoDecoder, Failure */
    void skip(const KVFrame& frame);

  private:
    void xDecodeH264(const picture::CheckedFrame& frame);

    picture::JpegReader fJpegs;
    std::unique_ptr<H264Pixels> fH264;  // from the first H.264 frame on
};

/** The same picture in colours, or by its brightness (BT.601). */
Pixels converted(Pixels pixels, Pixels::Channels channels);

}  // namespace robaxi_tool

#endif
