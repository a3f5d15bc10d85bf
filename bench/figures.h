#ifndef OBVISTA_BENCH_FIGURES_H
#define OBVISTA_BENCH_FIGURES_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <sys/types.h>
#include <vector>

namespace bench {

/** @name What a benchmark prints: one line for each figure, the library's beside its peer's */
///@{
void printHeading(const char* peer = "plain TCP", const char* ours = "robaxi");
void compare(const char* what, double ours, double peers, const char* unit);
///@}

/** Returns the quantile of the values at `part` (0 to 1). */
double quantile(std::vector<double>& values, double part);
double median(std::vector<double>& values);

/** Amount moved in an interval, and its cost for this process and its far end. */
struct Flow {
    double fSeconds = 0;
    double fProcessorSeconds = 0;
    double fMoved = 0;

    double rate() const { return fMoved / fSeconds; }
    double cost() const { return fProcessorSeconds / fMoved; }
};

/**
 * Measures a flow for some seconds by a counter that only increases.
 *
 * @throws std::runtime_error if nothing moves
 */
Flow measureFlow(pid_t farEnd, const std::atomic<std::uint64_t>& count,
                 std::chrono::milliseconds length);

/** Returns the processor time of a process of this user so far, in seconds, of all threads. */
double processorSeconds(pid_t process);

/** @throws std::runtime_error if the process has ended */
double residentMegabytes(pid_t process);

/**
 * The main() of every benchmark: `program --serve` is its far end, `program [ROUNDS]` measures.
 *
 * @return the exit status
 */
int runMain(int argc, char** argv, int usualRounds, const std::function<int()>& serve,
            const std::function<int(int)>& measure);

}  // namespace bench

#endif
