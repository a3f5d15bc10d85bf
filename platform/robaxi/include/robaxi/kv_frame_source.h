#ifndef ROBAXI_KV_FRAME_SOURCE_H
#define ROBAXI_KV_FRAME_SOURCE_H

#include <robaxi/kv_frame.h>
#include <robaxi/robaxi_export.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

/**
 * The cameras of a module that clients can watch (see KVFrameStream): a set of named frame streams.
 *
 * It holds the newest frame of each stream, and of H.264, whose frames need the previous ones,
 * those of the last 0.3 s. A watcher that falls behind further continues with the next key frame.
 * All operations may be called from any thread.
 */
class ROBAXI_EXPORT KVFrameSource {
  public:
    KVFrameSource();
    ~KVFrameSource();
    KVFrameSource(const KVFrameSource&) = delete;
    KVFrameSource& operator=(const KVFrameSource&) = delete;

    /** Receives the current number of watchers of a stream, on a thread of the library, one call at
     *  a time, so that a camera without watchers can rest. It may call publish(); it must not call
     *  setDemandHandler(), and must not throw. */
    using DemandHandler = std::function<void(const std::string& stream, int watchers)>;

    /** @throws KVError InvalidArgument if the name is empty or taken */
    void addStream(const std::string& name);
    /** Ends the stream for its watchers. Does nothing if there is no stream of that name. */
    void removeStream(const std::string& name);
    std::vector<std::string> getStreams() const;  ///< Returns the names, in the order of addition.

    /**
     * Makes a frame the newest of its stream. Returns at once: the bytes are not copied, and each
     * watcher receives the newest frame as fast as it can read. An H.264 frame that does not follow
     * the last one is dropped, and a key frame is requested.
     *
     * @throws KVError InvalidArgument if there is no such stream, or for a size without bytes;
     *         TooLarge for a frame above 64 MiB. A frame above the limit in the settings of the
     *         broker that serves it ends the stream for the watchers there.
     */
    void publish(const std::string& stream, const KVFrame& frame);

    /**
     * Returns true if a watcher of an H.264 stream needs a key frame: it has just come, has fallen
     * behind, or cannot decode what it has. Returns true at most four times a second, and not again
     * until another one is needed. The encoder calls it before each frame.
     */
    bool takeKeyFrameRequest(const std::string& stream);

    /** Returns the number of watchers of a stream; 0 if there is no such stream. */
    int getWatchers(const std::string& stream) const;

    /** Sets the handler and first calls it for the streams that are already watched. An empty
     *  function removes it. Returns when the previous handler is not running. */
    void setDemandHandler(DemandHandler handler);

    struct Private;
    /** For the broker that serves the streams. */
    const std::shared_ptr<Private>& getPrivate() const;

  private:
    std::shared_ptr<Private> fPrivate;
};

#endif
