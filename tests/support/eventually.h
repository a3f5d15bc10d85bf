#ifndef OBVISTA_TESTS_SUPPORT_EVENTUALLY_H
#define OBVISTA_TESTS_SUPPORT_EVENTUALLY_H

#include <chrono>
#include <thread>

namespace obvista_test {

/** Polls for a condition that nothing signals. Returns false if it is not true in 30 s. */
template <class Condition>
bool eventually(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
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
