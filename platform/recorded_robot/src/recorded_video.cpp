#include <picture/h264.h>

#include <optional>
#include <recorded_robot/recorded_video.h>

namespace recorded_robot {

bool isKeyFrame(const KVFrame& frame) {
    const std::optional<picture::H264Header> header = picture::readH264Header(frame);
    return header && header->fIsKey && header->fWidth > 0;
}

bool RecordedVideo::complete(KVFrame& frame) {
    const std::optional<picture::H264Header> header = picture::readH264Header(frame);
    if (!header || (header->fIsKey && header->fWidth == 0)) {
        interrupt();
        return false;
    }
    if (header->fIsKey) {
        fWidth = header->fWidth;
        fHeight = header->fHeight;
    } else if (needsKeyFrame()) {
        return false;
    }
    frame.fWidth = fWidth;
    frame.fHeight = fHeight;
    frame.fIsKey = header->fIsKey;
    frame.fSequence = ++fSequence;
    return true;
}

}  // namespace recorded_robot
