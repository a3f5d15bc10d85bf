#ifndef OBVISTA_BENCH_ROBAXI_FIGURES_H
#define OBVISTA_BENCH_ROBAXI_FIGURES_H

#include <functional>
#include <sys/types.h>
#include <vector>

namespace bench {

/** @name What a benchmark prints: one line for each figure, the library's beside its peer's */
///@{
void printHeading(const char* peer = "plain TCP");
void compare(const char* what, double ours, double peers, const char* unit);
///@}

/** The value below which this part (0 to 1) of the values lies. */
double quantile(std::vector<double>& values, double part);
double median(std::vector<double>& values);

/** Processor time that a process of this user has taken so far, in seconds, all threads together.
 */
double processorSeconds(pid_t process);

/**
 * The main() of every benchmark: `program --serve` is its far end, `program [ROUNDS]` measures.
 *
 * @return the exit status
 */
int runMain(int argc, char** argv, int usualRounds, const std::function<int()>& serve,
            const std::function<int(int)>& measure);

}  // namespace bench

#endif
