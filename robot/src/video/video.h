#ifndef OBVISTA_ROBOT_VIDEO_VIDEO_H
#define OBVISTA_ROBOT_VIDEO_VIDEO_H

#include "video/frame_trouble.h"

#include <robaxi/kv_video_module.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace robot {

/** The robot's module "KVVideo", whose cameras can have faults. From any thread. */
class Video {
  public:
    Video() = default;
    /** Requires that the module is no longer hosted. */
    ~Video();
    Video(const Video&) = delete;
    Video& operator=(const Video&) = delete;

    /** Adds the cameras. Call it once. */
    void add(const std::vector<KVCamera>& cameras);

    const std::shared_ptr<KVVideoModule>& module() const { return fModule; }

    /** Sends a frame of a camera that makes them by itself; its fault is applied. */
    void publish(const std::string& camera, const KVFrame& frame);

    /**
     * Injects a fault into a camera.
     *
     * @throws KVError if there is no such camera
     */
    void setTrouble(const std::string& camera, FrameTrouble trouble);

  private:
    /** A camera and its fault. */
    struct Channel {
        KVCamera fCamera;
        std::atomic<FrameTrouble> fTrouble{FrameTrouble::None};

        const std::string& name() const { return fCamera.fInfo.fName; }
        bool isHere() const { return fTrouble != FrameTrouble::Removed; }
    };

    Channel& xFind(const std::string& name) const;

    const std::shared_ptr<KVVideoModule> fModule = std::make_shared<KVVideoModule>();
    std::mutex fChangeMutex;                          // one change of faults at a time
    std::vector<std::unique_ptr<Channel>> fChannels;  // not changed after add()
};

}  // namespace robot

#endif
