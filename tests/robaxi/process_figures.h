#ifndef OBVISTA_TESTS_ROBAXI_PROCESS_FIGURES_H
#define OBVISTA_TESTS_ROBAXI_PROCESS_FIGURES_H

#include <cstddef>
#include <sys/types.h>

namespace robaxi_test {

/**
 * @name Resources of this process, as counted by the system
 */
///@{
std::size_t countListeningSockets();
std::size_t countDescriptors();
std::size_t countThreads();
///@}

/** Returns the resident memory of a process. */
std::size_t residentBytes(pid_t process);

}  // namespace robaxi_test

#endif
