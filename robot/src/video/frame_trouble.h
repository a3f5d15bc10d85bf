#ifndef OBVISTA_ROBOT_VIDEO_FRAME_TROUBLE_H
#define OBVISTA_ROBOT_VIDEO_FRAME_TROUBLE_H

#include "trouble_names.h"

#include <robaxi/kv_frame.h>

namespace robot {

/** Faults that can be injected into a camera. */
enum class FrameTrouble {
    None,
    Removed,      ///< it no longer exists
    Stopped,      ///< no frame is sent
    Unsupported,  ///< frames of an unknown format
    Short,        ///< half of the bytes
    Oversized,    ///< a megabyte more than necessary
    WrongStride,  ///< rows that overlap; for a JPEG, any stride
    NoSize,       ///< 0 x 0
    HugeSize,     ///< claims 65,535 x 65,535
    NoJpeg,       ///< claims to be a JPEG
    LyingJpeg     ///< a JPEG that claims 65,500 x 65,500 in its own header
};

const TroubleNames<FrameTrouble>& frameTroubles();

/**
 * Returns the frame with the fault. A fault that does not affect the bytes changes nothing, and
 * LyingJpeg only changes a JPEG.
 */
KVFrame spoilt(const KVFrame& frame, FrameTrouble trouble);

}  // namespace robot

#endif
