#include "bench/figures.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <time.h>
#include <unistd.h>

namespace bench {

void printHeading(const char* peer, const char* ours) {
    std::printf("%-34s %10s %10s\n", "", ours, peer);
}

void compare(const char* what, double ours, double peers, const char* unit) {
    std::printf("%-34s %10.1f %10.1f %s   ratio %.2f\n", what, ours, peers, unit, ours / peers);
}

double quantile(std::vector<double>& values, double part) {
    const auto index = static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + index, values.end());
    return values[static_cast<std::size_t>(index)];
}

double median(std::vector<double>& values) {
    constexpr double half = 0.5;
    return quantile(values, half);
}

double processorSeconds(pid_t process) {
    clockid_t clock = 0;
    timespec time{};
    if (::clock_getcpuclockid(process, &clock) != 0 || ::clock_gettime(clock, &time) != 0) {
        throw std::runtime_error("the processor time of a process is not known");
    }
    constexpr double nanosecond = 1e-9;
    return static_cast<double>(time.tv_sec) + nanosecond * static_cast<double>(time.tv_nsec);
}

double residentMegabytes(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/statm");
    double total = 0;
    double resident = 0;
    if (!(file >> total >> resident)) {
        throw std::runtime_error("the program has ended");
    }
    constexpr double megabyte = 1024 * 1024;
    return resident * static_cast<double>(::sysconf(_SC_PAGESIZE)) / megabyte;
}

Flow measureFlow(pid_t farEnd, const std::atomic<std::uint64_t>& count,
                 std::chrono::milliseconds length) {
    using Clock = std::chrono::steady_clock;
    const auto processorTime = [farEnd] {
        return processorSeconds(::getpid()) + processorSeconds(farEnd);
    };
    const auto start = Clock::now();
    const double processorAtStart = processorTime();
    const std::uint64_t countAtStart = count;
    std::this_thread::sleep_for(length);
    const Flow flow{std::chrono::duration<double>(Clock::now() - start).count(),
                    processorTime() - processorAtStart, static_cast<double>(count - countAtStart)};
    if (flow.fMoved == 0) {
        throw std::runtime_error("nothing moved in the time of a measurement");
    }
    return flow;
}

int runMain(int argc, char** argv, int usualRounds, const std::function<int()>& serve,
            const std::function<int(int)>& measure) {
    const std::string argument = argc > 1 ? argv[1] : "";
    try {
        return argument == "--serve"
                   ? serve()
                   : measure(argument.empty() ? usualRounds : std::max(1, std::atoi(argv[1])));
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s: %s\n", argv[0], failure.what());
        return EXIT_FAILURE;
    }
}

}  // namespace bench
