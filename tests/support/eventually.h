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

}  // namespace obvista_test

#endif
