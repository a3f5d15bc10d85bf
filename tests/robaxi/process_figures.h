#ifndef OBVISTA_TESTS_ROBAXI_PROCESS_FIGURES_H
#define OBVISTA_TESTS_ROBAXI_PROCESS_FIGURES_H

#include <cstddef>

namespace robaxi_test {

/**
 * @name Resources of this process, as counted by the system
 */
///@{
std::size_t countListeningSockets();
std::size_t countDescriptors();
std::size_t countThreads();
std::size_t residentBytes();
///@}

}  // namespace robaxi_test

#endif
