#ifndef OBVISTA_TESTS_SUPPORT_FRAME_STAMP_H
#define OBVISTA_TESTS_SUPPORT_FRAME_STAMP_H

#include <cstdint>
#include <functional>
#include <optional>

namespace obvista_test {

/** Number and time that the simulated robot draws into a frame. */
struct FrameStamp {
    std::uint32_t fNumber = 0;  ///< low 32 bits of KVFrame::fNumber
    std::int64_t fTime = 0;     ///< KVFrame::fTime
};

/**
 * Reads the strip of black and white blocks at the top of a picture, described in docs/video.md. It
 * samples the centres of the blocks, so the picture may be scaled, compressed or a screenshot.
 *
 * @param luma returns the brightness of a pixel, 0 to 255
 * @param left,top position of the picture's upper left corner, pixels
 * @param width displayed width of the picture, pixels
 * @return nothing if there is no strip, or it is damaged
 */
std::optional<FrameStamp> readFrameStamp(const std::function<int(int x, int y)>& luma, int left,
                                         int top, double width);

}  // namespace obvista_test

#endif
