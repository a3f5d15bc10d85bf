#ifndef ROBOT_RECORDING_CAMERA_TOPIC_H
#define ROBOT_RECORDING_CAMERA_TOPIC_H

#include <robaxi/kv_frame.h>
#include <robaxi/kv_frame_chain.h>

#include <cstdint>
#include <map>
#include <robot_recording/recording_sink.h>
#include <string>

namespace robot_recording {

/** The frames of one camera, byte for byte as the robot sent them. For one thread at a time. */
class CameraTopic {
  public:
    /** @param robot its name */
    CameraTopic(RecordingSink& sink, const std::string& robot, std::string camera,
                std::string description);

    /** Returns true if there is a message for frames of this format. */
    static bool canWrite(const KVFrame& frame);

    /**
     * Writes a frame that canWrite() accepts; its number becomes the sequence number.
     *
     * @return false if it was dropped; of H.264 the frames up to the next key frame are dropped
     *         too. The sink counts them.
     */
    bool write(const KVFrame& frame, std::uint64_t logTime);

  private:
    RecordingSink& fSink;
    const std::string fTopic;
    const std::string fCamera;
    const std::string fDescription;
    std::map<const MessageSchema*, RecordingSink::Topic> fTopics;
    KVFrameChain fChain;  // of the frames that were written
};

}  // namespace robot_recording

#endif
