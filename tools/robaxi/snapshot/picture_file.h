#ifndef OBVISTA_TOOLS_ROBAXI_SNAPSHOT_PICTURE_FILE_H
#define OBVISTA_TOOLS_ROBAXI_SNAPSHOT_PICTURE_FILE_H

#include "snapshot/pixels.h"

#include <robaxi/kv_frame.h>

#include <optional>
#include <string>

namespace robaxi_tool {

/** Format of a picture's file. */
enum class PictureFormat {
    Jpeg,
    Png,
    Ppm,  ///< bytes of red, green and blue behind a short heading
    Pgm   ///< bytes of grey behind a short heading
};

/** "jpeg", "png", "ppm" or "pgm"; also the ending "jpg", and capitals. */
std::optional<PictureFormat> parsePictureFormat(const std::string& text);
/** By the ending of a file's name. */
std::optional<PictureFormat> pictureFormatOf(const std::string& fileName);

std::string nameOf(PictureFormat format);
/** The usual ending of a file's name, without the point. */
std::string endingOf(PictureFormat format);

/** Returns the format that stores the camera's format without loss. */
PictureFormat bestFormatFor(KVPixelFormat format);

/**
 * The bytes of a picture's file. A JPEG that is to stay one is kept as it came.
 *
 * @param frame untrusted
 * @param reader has read or skipped the H.264 frames before
 * @throws NoDecoder, Failure BadPicture
 */
std::string pictureFile(const KVFrame& frame, PictureFormat format, PixelReader& reader);

}  // namespace robaxi_tool

#endif
