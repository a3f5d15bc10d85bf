#ifndef RECORDED_ROBOT_RECORDED_VIDEO_H
#define RECORDED_ROBOT_RECORDED_VIDEO_H

#include <robaxi/kv_frame.h>

#include <cstdint>

namespace recorded_robot {

/** Returns true if a recorded H.264 frame can be decoded without the ones before. */
bool isKeyFrame(const KVFrame& frame);

/**
 * The recorded H.264 frames of a camera in their order. A message has the bytes alone; the other
 * fields come from them and from the frames before.
 */
class RecordedVideo {
  public:
    /**
     * Sets size, fIsKey and fSequence of the next frame.
     *
     * @return false if it cannot be decoded: it is damaged, or a key frame is missing before it
     */
    bool complete(KVFrame& frame);

    /** Reports that the last frame is not decoded, or that the next one is at another place. */
    void interrupt() { fWidth = 0; }

    /** Returns true if the next frame must be a key frame. */
    bool needsKeyFrame() const { return fWidth == 0; }

  private:
    std::uint32_t fWidth = 0;  // of the last key frame
    std::uint32_t fHeight = 0;
    std::uint64_t fSequence = 0;
};

}  // namespace recorded_robot

#endif
