#ifndef OBVISTA_ROBOT_VIDEO_VIDEO_H
#define OBVISTA_ROBOT_VIDEO_VIDEO_H

#include "video/camera.h"
#include "video/frame_trouble.h"

#include <robaxi/kv_frame_source.h>
#include <robaxi/kv_module.h>

#include <boost/shared_ptr.hpp>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace robot {

/**
 * The robot's cameras and the module "KVVideo" for watching and configuring them (docs/video.md). A
 * camera without watchers rests. All operations may be called from any thread.
 */
class Video {
  public:
    explicit Video(std::vector<std::unique_ptr<Camera>> cameras);
    /** Requires that the module is no longer hosted. */
    ~Video();
    Video(const Video&) = delete;
    Video& operator=(const Video&) = delete;

    const boost::shared_ptr<KVModule>& module() const { return fModule; }

    /**
     * Injects a fault into a camera.
     *
     * @throws KVError if there is no such camera
     */
    void setTrouble(const std::string& camera, FrameTrouble trouble);

  private:
    /** A camera and its fault. */
    struct Channel {
        std::unique_ptr<Camera> fCamera;
        std::atomic<FrameTrouble> fTrouble{FrameTrouble::None};

        const std::string& name() const { return fCamera->name(); }
        bool isHere() const { return fTrouble != FrameTrouble::Removed; }
    };

    void xBindMethods();
    void xFollowDemand(const std::string& name, int watchers);
    void xPublish(const Channel& channel, const KVFrame& frame);
    KVValue xDescriptions() const;
    KVValue xSettings(const std::string& name) const;
    KVValue xChange(const std::string& name, const KVValue::Map& changes);
    Channel& xFind(const std::string& name) const;
    Camera& xPresentCamera(const std::string& name) const;

    boost::shared_ptr<KVFrameSource> fFrames;
    boost::shared_ptr<KVModule> fModule;
    std::mutex fChangeMutex;                          // one change of settings or fault at a time
    std::vector<std::unique_ptr<Channel>> fChannels;  // not changed after construction
};

}  // namespace robot

#endif
