#ifndef ROBAXI_HOSTED_CAMERA_H
#define ROBAXI_HOSTED_CAMERA_H

#include <base/pacer.h>
#include <robaxi/kv_video_module.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

namespace robaxi {

/**
 * A camera of a KVVideoModule with its current settings, and the thread that makes its frames if it
 * has a function for that. All operations may be called from any thread.
 */
class HostedCamera {
  public:
    /** Sends a frame with number and time. */
    using Send = std::function<void(const KVFrame& frame)>;

    /** Returns true if a client needs a key frame. */
    using IsKeyWanted = std::function<bool()>;

    HostedCamera(KVCamera camera, Send send, IsKeyWanted isKeyWanted);
    /** Ends, as end() does. */
    ~HostedCamera();
    HostedCamera(const HostedCamera&) = delete;
    HostedCamera& operator=(const HostedCamera&) = delete;

    /** Returns the description with the current settings. */
    KVCameraInfo info() const;

    /**
     * Applies changes of the settings.
     *
     * @return the resulting settings
     * @throws KVError if the camera does not support or accept them; nothing has changed then
     */
    KVCameraSettings change(const KVValue::Map& changes);

    /** Does nothing after end(). */
    void setWatched(bool isWatched);

    /** Sends a frame of the robot's; fills in number and time if they are 0. */
    void publish(KVFrame frame);

    /** Returns when none of the camera's functions is running; none runs afterwards. */
    void end();

  private:
    void xSetWatched(bool isWatched);
    void xRun();
    void xSend(const KVFrame& frame) const;
    void xMakeNext(std::unique_lock<std::mutex>& lock);

    const KVCamera fCamera;
    const Send fSend;
    const IsKeyWanted fIsKeyWanted;
    // Each is locked while one of the camera's functions runs, and before fMutex.
    std::mutex fChangeMutex;
    std::mutex fWatchMutex;
    std::atomic<bool> fIsEnded{false};

    mutable std::mutex fMutex;  // guards the following members
    std::condition_variable fWake;
    KVCameraSettings fSettings;
    base::Pacer fPacer;  // for the current watch
    bool fIsWatched = false;
    bool fIsStopping = false;
    std::uint64_t fNumber = 0;  // of the last frame

    std::thread fThread;  // only with a function that makes frames
};

}  // namespace robaxi

#endif
