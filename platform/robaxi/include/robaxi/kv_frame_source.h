#ifndef ROBAXI_KV_FRAME_SOURCE_H
#define ROBAXI_KV_FRAME_SOURCE_H

#include <robaxi/kv_frame.h>
#include <robaxi/robaxi_export.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

/**
 * The cameras that a module offers for watching (see KVFrameStream): a set of named streams of
 * frames.
 *
 * It keeps the newest frame of each stream and no history. All operations may be called from any
 * thread.
 */
class ROBAXI_EXPORT KVFrameSource {
  public:
    KVFrameSource();
    ~KVFrameSource();
    KVFrameSource(const KVFrameSource&) = delete;
    KVFrameSource& operator=(const KVFrameSource&) = delete;

    /** Told how many watchers a stream has now, on a thread of the library, one call at a time, so
     *  that a camera nobody watches can rest. It may call publish(); it must not call
     *  setDemandHandler(), and must not throw. */
    using DemandHandler = std::function<void(const std::string& stream, int watchers)>;

    /** @throws KVError InvalidArgument when the name is empty or taken */
    void addStream(const std::string& name);
    /** Ends the stream for those who watch it. Nothing happens when there is none of that name. */
    void removeStream(const std::string& name);
    std::vector<std::string> getStreams() const;

    /**
     * Makes a frame the newest of its stream. Returns at once: the bytes are not copied, and those
     * who watch get the newest frame as fast as each can take it.
     *
     * @throws KVError InvalidArgument when there is no such stream, or for a size without bytes;
     *         TooLarge for a frame above 64 MiB. One above the limit in the settings of the broker
     *         that serves it ends the stream for those who watch it there.
     */
    void publish(const std::string& stream, const KVFrame& frame);

    /** Watchers of a stream; 0 when there is no such stream. */
    int getWatchers(const std::string& stream) const;

    /** The handler is told first of the streams that are watched already. An empty function takes
     *  it away. Returns when the handler before does not run any more. */
    void setDemandHandler(DemandHandler handler);

    struct Private;
    /** For the broker that serves the streams. */
    const std::shared_ptr<Private>& getPrivate() const;

  private:
    std::shared_ptr<Private> fPrivate;
};

#endif
