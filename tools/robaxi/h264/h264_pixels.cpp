#include "h264/h264_pixels.h"

#include <codec/h264_decoder.h>

namespace robaxi_tool {

namespace {

class DecodedPixels : public H264Pixels {
  public:
    picture::FrameFault decode(const picture::CheckedFrame& frame) override {
        return fDecoder.decode(frame);
    }
    bool read(Pixels& pixels) override {
        return fDecoder.read(pixels.layout(), pixels.fBytes.data(), pixels.rowSize());
    }

  private:
    codec::H264Decoder fDecoder;
};

}  // namespace

}  // namespace robaxi_tool

robaxi_tool::H264Pixels* robaxiMakeH264Pixels() {
    return new robaxi_tool::DecodedPixels;
}
