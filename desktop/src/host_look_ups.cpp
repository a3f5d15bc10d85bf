#include "host_look_ups.h"

#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <thread>
#include <utility>

namespace KD {

QHostInfo lookUpHost(const QString& hostName, std::chrono::milliseconds patience) {
    auto promise = std::make_shared<std::promise<QHostInfo>>();
    std::future<QHostInfo> answer = promise->get_future();
    std::thread([promise, hostName] {
        promise->set_value(QHostInfo::fromName(hostName));
    }).detach();
    if (answer.wait_for(patience) == std::future_status::ready) {
        return answer.get();
    }
    QHostInfo failure;
    failure.setHostName(hostName);
    failure.setError(QHostInfo::UnknownError);
    return failure;
}

struct HostLookUps::State {
    struct LookUp {
        QString fHostName;
        AnswerHandler fHandler;
    };

    std::mutex fMutex;  // guards all members below; held while a handler is called
    std::condition_variable fChanged;
    std::deque<LookUp> fWaiting;
    std::size_t fThreads = 0;
    std::size_t fIdleThreads = 0;
    bool fEnding = false;
};

HostLookUps::HostLookUps() : fState(std::make_shared<State>()) {
}

HostLookUps::~HostLookUps() {
    std::unique_lock<std::mutex> lock(fState->fMutex);
    fState->fEnding = true;
    fState->fWaiting.clear();
    fState->fChanged.notify_all();
    fState->fChanged.wait_for(lock, a_patience, [this] { return fState->fThreads == 0; });
}

void HostLookUps::start(const QString& hostName, AnswerHandler handler) {
    const std::lock_guard<std::mutex> lock(fState->fMutex);
    fState->fWaiting.push_back({hostName, std::move(handler)});
    if (fState->fIdleThreads < fState->fWaiting.size() && fState->fThreads < a_simultaneous) {
        std::thread(&HostLookUps::xRun, fState).detach();
        ++fState->fThreads;
    }
    fState->fChanged.notify_all();
}

void HostLookUps::xRun(const std::shared_ptr<State>& state) {
    std::unique_lock<std::mutex> lock(state->fMutex);
    while (true) {
        ++state->fIdleThreads;
        state->fChanged.wait(lock, [&state] { return state->fEnding || !state->fWaiting.empty(); });
        --state->fIdleThreads;
        if (state->fEnding) {
            break;
        }
        const State::LookUp lookUp = std::move(state->fWaiting.front());
        state->fWaiting.pop_front();
        lock.unlock();
        const QHostInfo answer = QHostInfo::fromName(lookUp.fHostName);
        lock.lock();
        if (!state->fEnding) {
            lookUp.fHandler(answer);
        }
    }
    --state->fThreads;
    state->fChanged.notify_all();
}

}  // namespace KD
