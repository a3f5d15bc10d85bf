#include "process/interruption.h"

#include "process/failure.h"

namespace robaxi_tool {

void Interruption::interrupt(int signal) {
    const std::lock_guard lock(fMutex);
    if (fSignal != 0) {
        return;
    }
    fSignal = signal;
    for (const auto& [key, handler] : fHandlers) {
        handler();
    }
}

void Interruption::check() const {
    if (happened()) {
        throw Interrupted();
    }
}

void Interruption::addHandler(const void* key, std::function<void()> handler) {
    const std::lock_guard lock(fMutex);
    if (fSignal != 0) {
        handler();
    }
    fHandlers[key] = std::move(handler);
}

void Interruption::removeHandler(const void* key) {
    const std::lock_guard lock(fMutex);
    fHandlers.erase(key);
}

}  // namespace robaxi_tool
