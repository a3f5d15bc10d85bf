#ifndef OBVISTA_ROBOT_VIDEO_FRAME_TROUBLE_H
#define OBVISTA_ROBOT_VIDEO_FRAME_TROUBLE_H

#include <robaxi/kv_frame.h>

#include <optional>
#include <string>

namespace robot {

/** What a camera can be made to do wrong. */
enum class FrameTrouble {
    None,
    Removed,      ///< it is not there any more
    Stopped,      ///< no frame comes
    Unsupported,  ///< frames of a format that nobody knows
    Short,        ///< half of the bytes
    Oversized,    ///< a megabyte more than the picture needs
    WrongStride,  ///< rows that begin before the last one ends; for a JPEG, any
    NoSize,       ///< 0 x 0
    HugeSize,     ///< claims 65,535 x 65,535
    NoJpeg,       ///< claims to be a JPEG
    LyingJpeg     ///< a JPEG that claims 65,500 x 65,500 in its own header
};

/** @name The words for them, as docs and users know them: "ok", "removed", ... */
///@{
std::optional<FrameTrouble> frameTroubleNamed(const std::string& word);
std::string frameTroubleNames();
///@}

/** The frame with what is wrong with it. A trouble that is not in the bytes changes nothing, and
 *  neither does LyingJpeg when it is no JPEG. */
KVFrame spoilt(const KVFrame& frame, FrameTrouble trouble);

}  // namespace robot

#endif
