#include "ros2/event_loop.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace bridge {

namespace {

constexpr std::size_t a_mostEntries = 64;  // in one answer of the wait
constexpr dds_duration_t a_longestWait = DDS_MSECS(200);
constexpr EventLoop::Number a_posted = 0;
constexpr EventLoop::Number a_firstReader = 1;

}  // namespace

EventLoop::EventLoop(dds_entity_t participant)
    : fGuard(created(dds_create_guardcondition(participant), "a condition")),
      fWaitset(created(dds_create_waitset(participant), "a wait set")),
      fNext(a_firstReader) {
    dds_waitset_attach(fWaitset.get(), fGuard.get(), a_posted);
}

EventLoop::Number EventLoop::attach(dds_entity_t reader, Handler handler) {
    const Number number = fNext++;
    fHandlers[number] = std::move(handler);
    dds_set_status_mask(reader, DDS_DATA_AVAILABLE_STATUS);
    dds_waitset_attach(fWaitset.get(), reader, number);
    return number;
}

void EventLoop::detach(dds_entity_t reader, Number number) {
    dds_waitset_detach(fWaitset.get(), reader);
    fHandlers.erase(number);
}

void EventLoop::post(Handler function) {
    const std::lock_guard lock(fMutex);
    fPosted.push_back(std::move(function));
    wakeUp();
}

void EventLoop::wakeUp() {
    dds_set_guardcondition(fGuard.get(), true);
}

void EventLoop::runOnce() {
    for (const Number number : xWait()) {
        if (number == a_posted) {
            dds_set_guardcondition(fGuard.get(), false);
            xRunPosted();
        } else if (const auto known = fHandlers.find(number); known != fHandlers.end()) {
            known->second();
        }
    }
}

/** Returns the numbers of the readers that may have samples, and a_posted. */
std::vector<EventLoop::Number> EventLoop::xWait() {
    std::array<dds_attach_t, a_mostEntries> triggered{};
    const dds_return_t count =
        dds_waitset_wait(fWaitset.get(), triggered.data(), triggered.size(), a_longestWait);
    const auto entries = static_cast<std::size_t>(std::max(count, 0));
    std::vector<Number> numbers(
        triggered.begin(),
        triggered.begin() + static_cast<std::ptrdiff_t>(std::min(entries, triggered.size())));
    // More may be triggered than there is room for, always in the same order.
    if (entries > triggered.size()) {
        numbers.push_back(a_posted);
        for (const auto& [number, handler] : fHandlers) {
            numbers.push_back(number);
        }
    }
    return numbers;
}

void EventLoop::xRunPosted() {
    std::vector<Handler> posted;
    {
        const std::lock_guard lock(fMutex);
        posted.swap(fPosted);
    }
    for (const Handler& function : posted) {
        function();
    }
}

}  // namespace bridge
