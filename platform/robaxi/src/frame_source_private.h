#ifndef ROBAXI_FRAME_SOURCE_PRIVATE_H
#define ROBAXI_FRAME_SOURCE_PRIVATE_H

#include "task_pool.h"

#include <robaxi/kv_frame_chain.h>
#include <robaxi/kv_frame_source.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

/**
 * The cameras as seen by their watchers.
 *
 * Every published frame gets a version, counted from 1 for each stream, so that a watcher knows
 * whether there is a newer frame than the last one it has sent; no watcher keeps a queue. Of H.264
 * the stream keeps the frames of a short time, which watchers read one after another.
 */
struct KVFrameSource::Private : public std::enable_shared_from_this<KVFrameSource::Private> {
    /**
     * Called with fMutex locked when something happened; it must not take a lock that is held while
     * the source's is taken.
     */
    class Watcher {
      public:
        virtual ~Watcher() = default;
        virtual void framePublished() = 0;
        /** The stream is gone; the watcher need not be removed. */
        virtual void streamRemoved() = 0;
    };

    struct Stream {
        /** Returns the version of the first of fFrames. */
        std::uint64_t firstVersion() const { return fVersion + 1 - fFrames.size(); }

        std::deque<KVFrame> fFrames;  // the newest is the last; a single one unless H.264
        std::uint64_t fVersion = 0;   // of the newest; 0 before the first frame
        KVFrameChain fChain;
        bool fIsKeyWanted = false;
        std::chrono::steady_clock::time_point fKeyTaken;
        std::vector<Watcher*> fWatchers;
        int fToldWatchers = 0;  // the number last reported to the demand handler
    };

    struct Next {
        KVFrame fFrame;
        std::uint64_t fVersion = 0;
    };

    Private();
    /** Stops calling the demand handler. */
    void close();

    /** Returns false if there is no such stream. */
    bool addWatcher(const std::string& stream, Watcher* watcher);
    /** When it returns, the watcher is not being called and will not be called again. */
    void removeWatcher(const std::string& stream, Watcher* watcher);
    /**
     * Returns the frame to send after that with `version`: the newest, or of H.264 the one that
     * follows. A watcher that cannot continue gets the last key frame, which is requested if there
     * is none.
     */
    std::optional<Next> nextAfter(const std::string& stream, std::uint64_t version);
    void requestKeyFrame(const std::string& stream);

    void setDemandHandler(DemandHandler handler);
    void xTellDemand();
    bool xTellOne();
    void xWakeTeller();

    mutable std::mutex fMutex;
    std::map<std::string, Stream> fStreams;
    DemandHandler fDemandHandler;
    std::thread::id fTeller;  // the thread inside the handler
    std::condition_variable fTold;
    const std::shared_ptr<robaxi::TaskPool> fPool;  // one thread, for the demand handler
};

#endif
