#include "task_pool.h"

#include "start_thread.h"

#include <utility>

namespace robaxi {

std::shared_ptr<TaskPool> TaskPool::create(std::size_t largestNumberOfThreads) {
    return std::shared_ptr<TaskPool>(new TaskPool(largestNumberOfThreads));
}

TaskPool::TaskPool(std::size_t largestNumberOfThreads) : fLimit(largestNumberOfThreads) {
    xStartThread();
}

TaskPool::~TaskPool() {
    stop();
}

void TaskPool::xStartThread() {
    fThreads.push_back(startThread([work = fWork] { work->run(); }));
}

void TaskPool::post(Task task) {
    std::unique_lock lock(fWork->fMutex);
    if (fWork->fStopped) {
        lock.unlock();  // the task's captures are released without the lock
        return;
    }
    fWork->fTasks.push_back(std::move(task));
    if (fWork->fIdle < fWork->fTasks.size() && fThreads.size() < fLimit) {
        try {
            xStartThread();
        } catch (const KVError&) {
            // The threads that exist run the task later.
        }
    }
    lock.unlock();
    fWork->fChanged.notify_one();
}

void TaskPool::stop() {
    std::deque<Task> dropped;
    std::vector<std::thread> threads;
    {
        const std::lock_guard lock(fWork->fMutex);
        fWork->fStopped = true;
        dropped.swap(fWork->fTasks);
        threads.swap(fThreads);
    }
    fWork->fChanged.notify_all();
    for (std::thread& thread : threads) {
        if (thread.get_id() == std::this_thread::get_id()) {
            thread.detach();
        } else {
            thread.join();
        }
    }
}

void TaskPool::Work::run() {
    std::unique_lock lock(fMutex);
    while (true) {
        ++fIdle;
        fChanged.wait(lock, [this] { return fStopped || !fTasks.empty(); });
        --fIdle;
        if (fStopped) {
            return;
        }
        Task task = std::move(fTasks.front());
        fTasks.pop_front();
        lock.unlock();
        task();
        task = nullptr;
        lock.lock();
    }
}

std::shared_ptr<Strand> Strand::create(std::shared_ptr<TaskPool> pool) {
    return std::shared_ptr<Strand>(new Strand(std::move(pool)));
}

void Strand::post(TaskPool::Task task) {
    {
        const std::lock_guard lock(fMutex);
        if (fClosed) {
            return;
        }
        fTasks.push_back(std::move(task));
        if (fScheduled) {
            return;
        }
        fScheduled = true;
    }
    fPool->post([self = shared_from_this()] { self->xRunOne(); });
}

void Strand::xRunOne() {
    TaskPool::Task task;
    {
        const std::lock_guard lock(fMutex);
        if (fTasks.empty()) {
            fScheduled = false;
            return;
        }
        task = std::move(fTasks.front());
        fTasks.pop_front();
        fRunner = std::this_thread::get_id();
    }
    task();
    task = nullptr;  // its captures are released before close() returns
    {
        const std::lock_guard lock(fMutex);
        fRunner = std::thread::id();
        fScheduled = !fTasks.empty();
        fDone.notify_all();
        if (!fScheduled) {
            return;
        }
    }
    fPool->post([self = shared_from_this()] { self->xRunOne(); });
}

void Strand::close() {
    std::deque<TaskPool::Task> dropped;
    std::unique_lock lock(fMutex);
    fClosed = true;
    dropped.swap(fTasks);
    fDone.wait(lock, [this] {
        return fRunner == std::thread::id() || fRunner == std::this_thread::get_id();
    });
    lock.unlock();  // before the captures of the dropped tasks are released
}

}  // namespace robaxi
