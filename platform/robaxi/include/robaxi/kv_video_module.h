#ifndef ROBAXI_KV_VIDEO_MODULE_H
#define ROBAXI_KV_VIDEO_MODULE_H

#include <robaxi/kv_camera.h>
#include <robaxi/kv_frame.h>
#include <robaxi/kv_module.h>
#include <robaxi/robaxi_export.h>

#include <functional>
#include <memory>
#include <string>

/**
 * A camera of a KVVideoModule. Its functions are called one at a time each, without a lock; they
 * must not add or remove cameras, and only fApply may throw. All may be empty.
 */
struct KVCamera {
    /** With the first settings. Without modes the settings are the only ones. */
    KVCameraInfo fInfo;
    /**
     * Makes a frame whenever one is due at the rate of the settings, while the camera is watched:
     * called on a dedicated thread with a frame that has number, time, width and height, and fills
     * in the rest. A frame that is left without bytes is not sent; frames that are late are
     * skipped. With H.264, fIsKey is true if a client needs a key frame. Cameras without this
     * function call KVVideoModule::publish().
     */
    std::function<void(const KVCameraSettings& settings, KVFrame& frame)> fMakeFrame = nullptr;
    /** Applies other settings, which match a mode, before they are returned to clients: throws to
     *  refuse them. A KVError keeps its cause; other exceptions become RaisedByModule. */
    std::function<void(const KVCameraSettings& settings)> fApply = nullptr;
    /** Called with true when the first client watches, with false when none does any more, so that
     *  the camera can rest. */
    std::function<void(bool isWatched)> fWatch = nullptr;
};

/**
 * The module "KVVideo": a robot's cameras, which clients list, configure and watch (docs/video.md).
 *
 *     auto video = std::make_shared<KVVideoModule>();
 *     video->addCamera({{"head", "Between the eyes", {}, {320, 240, "rgb", 15}},
 *                       [](const KVCameraSettings& settings, KVFrame& frame) { ... }});
 *     broker->addModule(video);
 *
 * All operations may be called from any thread, also while the module is hosted.
 */
class ROBAXI_EXPORT KVVideoModule : public KVModule {
  public:
    explicit KVVideoModule(const std::string& description = "The robot's cameras.");  ///< For users
    /** Removes the cameras, as removeCamera() does. */
    ~KVVideoModule() override;

    /**
     * Adds a camera.
     *
     * @throws KVError InvalidArgument if the name is empty or taken, or the size or the rate is not
     *         above 0; RaisedByModule if the settings match none of the modes
     */
    void addCamera(const KVCamera& camera);
    /**
     * Removes a camera and ends its stream. Returns when none of its functions is running; fWatch
     * has been called with false if the camera was watched. Does nothing if there is no such
     * camera.
     */
    void removeCamera(const std::string& name);

    /**
     * Sends a frame to those who watch the camera, without a copy of its bytes. A number of 0 is
     * replaced by the camera's next one, a time of 0 by the current time.
     *
     * @throws KVError as KVFrameSource::publish()
     */
    void publish(const std::string& camera, KVFrame frame);

    /** Returns true if a client needs a key frame of an H.264 camera that publishes by itself (see
     *  KVFrameSource::takeKeyFrameRequest()). */
    bool takeKeyFrameRequest(const std::string& camera);

    /** @throws KVError InvalidArgument if there is no such camera */
    KVCameraSettings getSettings(const std::string& camera) const;

  private:
    struct Private;
    std::unique_ptr<Private> fPrivate;
};

#endif
