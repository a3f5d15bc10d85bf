#include "host_look_ups.h"

#include <utility>

namespace KD {

HostLookUps::~HostLookUps() {
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fEnding = true;
    }
    fChanged.notify_all();
    for (std::thread& thread : fThreads) {
        thread.join();
    }
}

void HostLookUps::start(const QString& hostName, AnswerHandler handler) {
    const std::lock_guard<std::mutex> lock(fMutex);
    fWaiting.push_back({hostName, std::move(handler)});
    if (fIdleThreads < fWaiting.size() && fThreads.size() < a_simultaneous) {
        fThreads.emplace_back([this] { xRun(); });
    }
    fChanged.notify_one();
}

void HostLookUps::xRun() {
    std::unique_lock<std::mutex> lock(fMutex);
    while (true) {
        ++fIdleThreads;
        fChanged.wait(lock, [this] { return fEnding || !fWaiting.empty(); });
        --fIdleThreads;
        if (fEnding) {
            return;
        }
        const LookUp lookUp = std::move(fWaiting.front());
        fWaiting.pop_front();
        lock.unlock();
        lookUp.fHandler(QHostInfo::fromName(lookUp.fHostName));
        lock.lock();
    }
}

}  // namespace KD
