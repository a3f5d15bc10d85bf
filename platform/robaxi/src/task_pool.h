#ifndef ROBAXI_TASK_POOL_H
#define ROBAXI_TASK_POOL_H

#include <robaxi/robaxi_export.h>

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace robaxi {

/**
 * A few threads for code that may block: methods of modules and callbacks of the library's users.
 * gRPC's own threads never run such code, since it would delay everything else.
 *
 * The first thread starts with the pool, so that tasks run even if the system permits no further
 * one later. The others start when they are needed, up to the limit, and stay.
 * boost::asio::thread_pool starts all of them at once, and waits for itself when its last reference
 * is released by one of its tasks, as happens to a broker that a callback releases.
 */
class ROBAXI_EXPORT TaskPool {
  public:
    using Task = std::function<void()>;

    /** @throws KVError Internal if its first thread cannot be started */
    static std::shared_ptr<TaskPool> create(std::size_t largestNumberOfThreads);
    /** Stops, as stop() does. */
    ~TaskPool();
    TaskPool(const TaskPool&) = delete;
    TaskPool& operator=(const TaskPool&) = delete;

    /** Queues a task; drops it after stop(). */
    void post(Task task);

    /** Drops waiting tasks and returns when none is running, except one from which it is called. */
    void stop();

  private:
    /** Shared with the threads, one of which may destroy the pool. */
    struct Work {
        void run();

        std::mutex fMutex;
        std::condition_variable fChanged;
        std::deque<Task> fTasks;
        std::size_t fIdle = 0;
        bool fStopped = false;
    };

    explicit TaskPool(std::size_t largestNumberOfThreads);
    void xStartThread();

    const std::size_t fLimit;
    const std::shared_ptr<Work> fWork = std::make_shared<Work>();
    std::vector<std::thread> fThreads;  // guarded by the mutex of fWork
};

/**
 * Tasks that run on a pool one after the other, in the order in which they were posted.
 *
 * Unlike boost::asio::strand it can be closed: users rely on it that no callback runs any more when
 * a subscription or a connection has ended.
 */
class ROBAXI_EXPORT Strand : public std::enable_shared_from_this<Strand> {
  public:
    static std::shared_ptr<Strand> create(std::shared_ptr<TaskPool> pool);
    Strand(const Strand&) = delete;
    Strand& operator=(const Strand&) = delete;

    void post(TaskPool::Task task);

    /**
     * Drops waiting and later tasks. Returns when none is running, unless it is called from one.
     */
    void close();

  private:
    explicit Strand(std::shared_ptr<TaskPool> pool) : fPool(std::move(pool)) {}
    void xRunOne();

    const std::shared_ptr<TaskPool> fPool;
    std::mutex fMutex;
    std::condition_variable fDone;
    std::deque<TaskPool::Task> fTasks;
    std::thread::id fRunner;
    bool fScheduled = false;
    bool fClosed = false;
};

}  // namespace robaxi

#endif
