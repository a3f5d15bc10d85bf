#ifndef ROBAXI_FRAME_SOURCE_PRIVATE_H
#define ROBAXI_FRAME_SOURCE_PRIVATE_H

#include "task_pool.h"

#include <robaxi/kv_frame_source.h>

#include <condition_variable>
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
 * whether there is a newer frame than the last one it has sent; no watcher keeps a queue.
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
        KVFrame fNewest;
        std::uint64_t fVersion = 0;  // 0 before the first frame
        std::vector<Watcher*> fWatchers;
        int fToldWatchers = 0;  // the number last reported to the demand handler
    };

    struct Newest {
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
    /** Returns the newest frame if its version is above `version`. */
    std::optional<Newest> newestAfter(const std::string& stream, std::uint64_t version) const;

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
