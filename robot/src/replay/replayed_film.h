#ifndef OBVISTA_ROBOT_REPLAY_REPLAYED_FILM_H
#define OBVISTA_ROBOT_REPLAY_REPLAYED_FILM_H

#include <picture/frame_check.h>
#include <picture/jpeg.h>
#include <robaxi/kv_frame.h>

#include <codec/h264_decoder.h>
#include <optional>
#include <recorded_robot/recorded_video.h>
#include <vector>

namespace robot {

/**
 * The recorded H.264 of a camera, which is served as JPEG: after a jump, and for a client that
 * comes while the replay is paused, there is no encoder that could make a key frame.
 */
class ReplayedFilm {
  public:
    /** Decodes the next frame. @return false if it cannot be decoded */
    bool take(KVFrame frame);
    /** Returns the fault of the last frame that take() tried to decode. */
    picture::FrameFault fault() const { return fFault; }
    /** Returns the last decoded frame as JPEG; nothing if there is none. */
    std::optional<KVFrame> picture();
    /** The next frame is at another place of the recording. */
    void restart();

  private:
    recorded_robot::RecordedVideo fOrder;
    codec::H264Decoder fDecoder;
    picture::JpegWriter fJpegWriter;
    std::vector<unsigned char> fRows;
    std::optional<KVFrame> fFrame;  ///< that was decoded
    picture::FrameFault fFault = picture::FrameFault::None;
};

}  // namespace robot

#endif
