#ifndef OBVISTA_TESTS_SUPPORT_PROCESS_FIGURES_H
#define OBVISTA_TESTS_SUPPORT_PROCESS_FIGURES_H

#include <cstddef>
#include <string>
#include <sys/types.h>

namespace obvista_test {

/**
 * @name Resources of a process, as counted by the system
 *
 * @param process the number of a process; this one by default
 */
///@{
std::size_t countDescriptors(const std::string& process = "self");
std::size_t countThreads(const std::string& process = "self");
///@}

/** Returns the number of sockets on which this process listens. */
std::size_t countListeningSockets();

/** Returns true if a process listens on a TCP port. */
bool listensOn(const std::string& process, int port);

/** Returns the resident memory of a process; 0 if it has ended. */
std::size_t residentBytes(pid_t process);

}  // namespace obvista_test

#endif
