#ifndef OBVISTA_TESTS_SUPPORT_EVENTUALLY_H
#define OBVISTA_TESTS_SUPPORT_EVENTUALLY_H

#include <chrono>
#include <thread>

namespace obvista_test {

/** Polls for a condition that nothing signals. Returns false if it is not true in time. */
template <class Condition>
bool eventually(Condition condition, std::chrono::seconds limit = std::chrono::seconds(30)) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

/**
 * Returns true if one of several measurements is below the limit. A busy machine delays some, but
 * whatever takes as long as the limit takes that long each time.
 */
template <class Duration, class Measure>
bool isOnceBelow(Duration limit, Measure measure) {
    constexpr int attempts = 5;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        if (measure() < limit) {
            return true;
        }
    }
    return false;
}

}  // namespace obvista_test

#endif
