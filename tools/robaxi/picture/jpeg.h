#ifndef OBVISTA_TOOLS_ROBAXI_PICTURE_JPEG_H
#define OBVISTA_TOOLS_ROBAXI_PICTURE_JPEG_H

#include "picture/pixels.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace robaxi_tool {

/**
 * Decodes a JPEG that comes from outside. Its header is read, and must give the size that is
 * expected, before memory is taken for the picture.
 *
 * @throws Failure BadPicture for one that is damaged, ends early, has another size, is made for
 *         printers, or of more passes than any camera needs (an attack on the processor)
 */
Pixels readJpeg(const unsigned char* data, std::size_t size, std::uint32_t width,
                std::uint32_t height);

/** The bytes of a JPEG of high quality. @throws Failure BadPicture for a side above 65,535 */
std::string writeJpeg(const Pixels& pixels);

}  // namespace robaxi_tool

#endif
