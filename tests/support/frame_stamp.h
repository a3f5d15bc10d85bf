#ifndef OBVISTA_TESTS_SUPPORT_FRAME_STAMP_H
#define OBVISTA_TESTS_SUPPORT_FRAME_STAMP_H

#include <cstdint>
#include <functional>
#include <optional>

namespace obvista_test {

/** What a frame of the simulated robot says of itself in its picture. */
struct FrameStamp {
    std::uint32_t fNumber = 0;  ///< low 32 bits of KVFrame::fNumber
    std::int64_t fTime = 0;     ///< KVFrame::fTime
};

/**
 * Reads the strip of black and white blocks at the top of a picture, which docs/video.md describes.
 * It samples the middles of the blocks, so the picture may be scaled, compressed or a screenshot.
 *
 * @param luma how light the picture is at a pixel, 0 to 255
 * @param left,top where the picture's left upper corner is shown, pixels
 * @param width with which the picture is shown, pixels
 * @return nothing when there is no strip, or it is damaged
 */
std::optional<FrameStamp> readFrameStamp(const std::function<int(int x, int y)>& luma, int left,
                                         int top, double width);

}  // namespace obvista_test

#endif
