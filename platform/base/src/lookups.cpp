#include <base/lookups.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>

namespace base {

struct Lookups::State {
    explicit State(std::size_t mostThreads) : fMostThreads(mostThreads) {}

    const std::size_t fMostThreads;
    std::mutex fMutex;  ///< guards all below, and is held while an answer is delivered
    std::condition_variable fThreadEnded;
    std::deque<Question> fWaiting;
    std::size_t fThreads = 0;
    bool fHasEnded = false;
};

Lookups::Lookups(std::size_t mostThreads, std::chrono::milliseconds patience)
    : fPatience(patience), fState(std::make_shared<State>(mostThreads)) {
}

Lookups::~Lookups() {
    std::unique_lock lock(fState->fMutex);
    fState->fHasEnded = true;
    fState->fWaiting.clear();
    fState->fThreadEnded.wait_for(lock, fPatience, [this] { return fState->fThreads == 0; });
}

void Lookups::start(Question question) {
    const std::lock_guard lock(fState->fMutex);
    fState->fWaiting.push_back(std::move(question));
    if (fState->fThreads < fState->fMostThreads) {
        try {
            std::thread(&Lookups::xRun, fState).detach();
            ++fState->fThreads;
        } catch (const std::system_error&) {
            // One of the others, or that of the next question, asks this one, too.
        }
    }
}

void Lookups::xRun(const std::shared_ptr<State>& state) {
    std::unique_lock lock(state->fMutex);
    while (!state->fWaiting.empty()) {
        const Question question = std::move(state->fWaiting.front());
        state->fWaiting.pop_front();
        lock.unlock();
        const Answer answer = question();
        lock.lock();
        if (!state->fHasEnded) {
            answer();
        }
    }
    --state->fThreads;
    state->fThreadEnded.notify_all();
}

void releaseInTime(std::shared_ptr<void> object) {
    auto release =
        std::packaged_task<void()>([object = std::move(object)]() mutable { object.reset(); });
    const std::future<void> released = release.get_future();
    std::thread worker;
    try {
        worker = std::thread(std::move(release));
    } catch (const std::system_error&) {
        return;  // the task, and with it the object, was destroyed
    }
    if (released.wait_for(a_endPatience) == std::future_status::ready) {
        worker.join();
    } else {
        worker.detach();
    }
}

}  // namespace base
