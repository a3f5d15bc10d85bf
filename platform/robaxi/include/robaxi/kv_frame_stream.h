#ifndef ROBAXI_KV_FRAME_STREAM_H
#define ROBAXI_KV_FRAME_STREAM_H

#include <robaxi/kv_error.h>
#include <robaxi/kv_frame.h>
#include <robaxi/robaxi_export.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

class KVConnection;

/**
 * The live frames of one camera.
 *
 * Frames are never queued: the robot sends the newest frame it has whenever the network accepts
 * one, and a frame that arrives while a callback is still busy replaces the one that waits. A slow
 * callback or network gets fewer frames, not older ones.
 *
 * H.264 frames need the previous ones: they arrive in their order, up to 32 of them wait for a busy
 * callback, and after a gap they continue with a key frame, which the library requests. So every
 * frame that is received can be decoded (see KVFrameChain).
 */
class ROBAXI_EXPORT KVFrameStream {
  public:
    /**
     * Functions that receive the frames; empty ones are skipped. Called on a thread of the library,
     * one call at a time; they must not throw. They and what they captured are released when the
     * stream has been destroyed and none of them is running.
     */
    struct Callbacks {
        /**
         * Receives a frame.
         *
         * @param frame untrusted, see KVFrame
         * @param passedOver number of frames that were received since the last call and replaced
         *        by this newer one. Frames that the robot did not send show as a gap in
         *        KVFrame::fNumber.
         */
        std::function<void(const KVFrame& frame, std::uint64_t passedOver)> fFrameReceived;
        /** Reports the end of the stream: refused, removed by the robot, or connection lost. Called
         *  last, at most once, and not after stop(). */
        std::function<void(const KVError& error)> fEnded;
    };

    /**
     * Starts watching; does not wait for the robot. The newest frame, if there is one, is sent at
     * once.
     *
     * @param connection kept alive by the stream
     * @param module name of a module with cameras, for instance "KVVideo"
     * @param stream name of the camera
     * @throws KVError InvalidArgument for no connection or an empty name. A refusal by the robot
     *         is reported to Callbacks::fEnded.
     */
    static std::shared_ptr<KVFrameStream> start(std::shared_ptr<KVConnection> connection,
                                                const std::string& module,
                                                const std::string& stream, Callbacks callbacks);

    /** Stops, as stop() does. */
    ~KVFrameStream();
    KVFrameStream(const KVFrameStream&) = delete;
    KVFrameStream& operator=(const KVFrameStream&) = delete;

    /**
     * Requests a key frame of an H.264 stream, for a program that could not decode a frame or
     * begins in the middle. The library asks the robot at most four times a second; it asks later
     * for an earlier request, unless a key frame arrives before. May be called from any thread.
     */
    void requestKeyFrame();

    /** Stops watching. Returns when no callback is running, except one from which it is called. */
    void stop();

  private:
    struct Private;
    explicit KVFrameStream(std::shared_ptr<Private> implementation);
    std::shared_ptr<Private> fPrivate;
};

#endif
