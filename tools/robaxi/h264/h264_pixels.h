#ifndef OBVISTA_TOOLS_ROBAXI_H264_H264_PIXELS_H
#define OBVISTA_TOOLS_ROBAXI_H264_H264_PIXELS_H

#include "snapshot/pixels.h"

#include <picture/frame_check.h>

/**
 * The interface of the library that decodes H.264. It is separate, since GStreamer takes longer to
 * load than most commands run.
 */
namespace robaxi_tool {

/** The frames are those that KVFrameChain accepts, one after the other. */
class H264Pixels {
  public:
    H264Pixels() = default;
    virtual ~H264Pixels() = default;
    H264Pixels(const H264Pixels&) = delete;
    H264Pixels& operator=(const H264Pixels&) = delete;

    /** @return a fault, after which the next frame is a key frame */
    virtual picture::FrameFault decode(const picture::CheckedFrame& frame) = 0;
    /** Converts the picture of the last decode() to colours. @return false if that is impossible */
    virtual bool read(Pixels& pixels) = 0;
};

}  // namespace robaxi_tool

/** Creates a decoder, which the caller deletes. */
extern "C" __attribute__((visibility("default"))) robaxi_tool::H264Pixels* robaxiMakeH264Pixels();

#endif
