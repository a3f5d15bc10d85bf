#ifndef OBVISTA_TOOLS_ROBAXI_SNAPSHOT_PIXELS_H
#define OBVISTA_TOOLS_ROBAXI_SNAPSHOT_PIXELS_H

#include <picture/pixel_format.h>
#include <robaxi/kv_frame.h>

#include <cstdint>
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

/**
 * Makes pixels of a frame. Whatever the frame claims is checked before it is relied on; a JPEG is
 * decoded to its end.
 *
 * @throws Failure BadPicture with a sentence that says what is wrong
 */
Pixels pixelsOf(const KVFrame& frame);

/** The same picture in colours, or by its brightness (BT.601). */
Pixels converted(Pixels pixels, Pixels::Channels channels);

}  // namespace robaxi_tool

#endif
