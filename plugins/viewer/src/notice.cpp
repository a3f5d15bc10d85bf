#include <obvista/viewer/notice.h>

#include <utility>

namespace obvista {

void Notice::set(std::function<void()> function) {
    const std::lock_guard<std::mutex> lock(fMutex);
    fFunction = std::move(function);
    if (fIsGiven && fFunction) {
        fFunction();
    }
}

void Notice::give() {
    const std::lock_guard<std::mutex> lock(fMutex);
    if (!fIsGiven && fFunction) {
        fFunction();
    }
    fIsGiven = true;
}

void Notice::clear() {
    const std::lock_guard<std::mutex> lock(fMutex);
    fIsGiven = false;
}

}  // namespace obvista
