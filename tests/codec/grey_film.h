#ifndef OBVISTA_TESTS_GREY_FILM_H
#define OBVISTA_TESTS_GREY_FILM_H

#include <picture/frame_check.h>

#include <codec/h264_encoder.h>
#include <cstdint>

namespace obvista_test {

/** Makes H.264 frames of 64x48 pixels, numbered from 1, each of one grey. */
class GreyFilm {
  public:
    explicit GreyFilm(double rate = 30) : fRate(rate) {}

    /** Returns the grey value of a frame, which is not exact after decoding. */
    static int greyOf(std::uint64_t number);

    KVFrame next(bool isKeyWanted = false);
    picture::CheckedFrame checked(bool isKeyWanted = false) {
        return picture::check(next(isKeyWanted));
    }

  private:
    const double fRate;
    codec::H264Encoder fEncoder;
    std::uint64_t fNumber = 0;
};

}  // namespace obvista_test

#endif
