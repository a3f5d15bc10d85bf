#ifndef BASE_LOOKUPS_H
#define BASE_LOOKUPS_H

#include <chrono>
#include <cstddef>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace base {

/**
 * Runs calls that take seconds and cannot be interrupted, such as lookups of host names by the
 * system's resolver, on a few dedicated threads.
 */
class Lookups {
  public:
    /** Delivers an answer. */
    using Answer = std::function<void()>;
    /** The call that takes long; returns the delivery of its answer. Must not throw. */
    using Question = std::function<Answer()>;

    /** @param patience for how long the destructor waits for calls in progress */
    explicit Lookups(std::size_t mostThreads, std::chrono::milliseconds patience = {});
    /**
     * Drops the calls that have not begun, and waits for the others, which are abandoned with their
     * threads if they take too long. No answer is delivered afterwards.
     */
    ~Lookups();
    Lookups(const Lookups&) = delete;
    Lookups& operator=(const Lookups&) = delete;

    /** Question and answer run on one of the threads, and only one answer at a time. An answer must
     *  not start another lookup. If no thread can be started, the question waits for the next one.
     */
    void start(Question question);

  private:
    struct State;
    static void xRun(const std::shared_ptr<State>& state);

    const std::chrono::milliseconds fPatience;
    const std::shared_ptr<State> fState;  ///< also held by the threads
};

/**
 * Returns the result of `ask`, or nothing if there is none by the deadline. It is called on a
 * dedicated thread, which is abandoned then. Returns nothing at once if no thread can be started.
 */
template <class Ask>
auto answerInTime(std::chrono::steady_clock::time_point deadline, Ask ask)
    -> std::optional<decltype(ask())> {
    auto task = std::packaged_task<decltype(ask())()>(std::move(ask));
    auto answer = task.get_future();
    try {
        std::thread(std::move(task)).detach();
    } catch (const std::system_error&) {
        return std::nullopt;
    }
    if (answer.wait_until(deadline) != std::future_status::ready) {
        return std::nullopt;
    }
    return answer.get();
}

/** Time to wait for the end of an object that may hang, so that programs still quit quickly. */
constexpr std::chrono::milliseconds a_endPatience(300);

/**
 * Releases an object whose destructor may take long, such as one that says goodbye to another
 * process, on a dedicated thread. The thread is abandoned if it takes longer than a_endPatience.
 * Releases it on this thread if no other one can be started.
 */
void releaseInTime(std::shared_ptr<void> object);

}  // namespace base

#endif
