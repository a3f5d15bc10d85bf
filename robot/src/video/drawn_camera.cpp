#include "video/drawn_camera.h"

#include "video/stamp.h"

#include <picture/pixel_format.h>

namespace robot {

void DrawnCamera::makeFrame(const KVCameraSettings& settings, KVFrame& frame) {
    fCanvas.resize(settings.fWidth, settings.fHeight);
    fDraw(fCanvas);
    drawStamp(fCanvas, frame.fNumber, frame.fTime);
    KVFrame encoded = fEncoder.encode(fCanvas, picture::formatNamed(settings.fFormat));
    encoded.fNumber = frame.fNumber;
    encoded.fTime = frame.fTime;
    frame = encoded;
}

}  // namespace robot
