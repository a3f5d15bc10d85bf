#include "timer_thread.h"

#include "start_thread.h"

namespace robaxi {

std::shared_ptr<TimerThread> TimerThread::create() {
    std::shared_ptr<TimerThread> timers(new TimerThread);
    timers->fThread = startThread([timers] { timers->xRun(); });
    return timers;
}

void TimerThread::stop() {
    std::thread thread;
    {
        const std::lock_guard lock(fMutex);
        fStopped = true;
        thread.swap(fThread);
    }
    fChanged.notify_all();
    if (!thread.joinable()) {
        return;
    }
    if (thread.get_id() == std::this_thread::get_id()) {
        thread.detach();
    } else {
        thread.join();
    }
}

void TimerThread::xRun() {
    std::unique_lock lock(fMutex);
    fThreadId = std::this_thread::get_id();
    while (!fStopped) {
        if (fDue.empty()) {
            fChanged.wait(lock);
            continue;
        }
        const auto [time, timer] = *fDue.begin();
        if (time > Clock::now()) {
            fChanged.wait_until(lock, time);
            continue;
        }
        timer->xErase();
        fRunning = timer;
        const auto task = timer->fTask;  // the timer may be destroyed while its task runs
        lock.unlock();
        (*task)();
        lock.lock();
        fRunning = nullptr;
        fDone.notify_all();
    }
}

Timer::Timer(std::shared_ptr<TimerThread> thread, std::function<void()> task)
    : fThread(std::move(thread)),
      fTask(std::make_shared<const std::function<void()>>(std::move(task))) {
}

Timer::~Timer() {
    stop();
}

void Timer::startAt(Clock::time_point time) {
    const std::lock_guard lock(fThread->fMutex);
    if (fThread->fStopped || (fIsDue && fTime <= time)) {
        return;
    }
    xErase();
    fTime = time;
    fIsDue = true;
    fThread->fDue.emplace(time, this);
    if (fThread->fDue.begin()->second == this) {
        fThread->fChanged.notify_one();
    }
}

void Timer::stop() {
    std::unique_lock lock(fThread->fMutex);
    xErase();
    if (fThread->fThreadId == std::this_thread::get_id()) {
        return;
    }
    fThread->fDone.wait(lock, [this] { return fThread->fRunning != this; });
    xErase();  // the task may have started it again
}

void Timer::xErase() {
    if (fIsDue) {
        fThread->fDue.erase({fTime, this});
        fIsDue = false;
    }
}

}  // namespace robaxi
