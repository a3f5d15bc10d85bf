#include "machine_watch.h"

#include <algorithm>
#include <chrono>

namespace bench {

MachineWatch::MachineWatch() : fThread([this] { xRun(); }) {
}

MachineWatch::~MachineWatch() {
    fStop = true;
    fThread.join();
}

void MachineWatch::xRun() {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds look{5};
    while (!fStop) {
        const auto begin = Clock::now();
        std::this_thread::sleep_for(look);
        const std::chrono::duration<double, std::milli> late = Clock::now() - begin - look;
        fLongest = std::max<double>(fLongest, late.count());
    }
}

}  // namespace bench
