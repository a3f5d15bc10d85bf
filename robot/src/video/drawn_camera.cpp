#include "video/drawn_camera.h"

#include "video/stamp.h"

namespace robot {

void DrawnCamera::makeFrame(const KVCameraSettings& settings, KVFrame& frame) {
    fCanvas.resize(settings.fWidth, settings.fHeight);
    fDraw(fCanvas);
    if (fStamp == Stamp::Drawn) {
        drawStamp(fCanvas, frame.fNumber, frame.fTime);
    }
    KVFrame encoded = fEncoder.encode(fCanvas, settings, frame.fIsKey);
    encoded.fNumber = frame.fNumber;
    encoded.fTime = frame.fTime;
    frame = encoded;
}

}  // namespace robot
