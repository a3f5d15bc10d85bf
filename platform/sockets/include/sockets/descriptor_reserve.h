#ifndef OBVISTA_SOCKETS_DESCRIPTOR_RESERVE_H
#define OBVISTA_SOCKETS_DESCRIPTOR_RESERVE_H

#include <cstddef>

/** File descriptors of the process that connections do not use up. */
namespace sockets {

/** The process's limit on open descriptors now (`ulimit -n`). */
std::size_t descriptorLimit();

/** Who leaves how much of the process's descriptors to others. */
enum class Importance {
    Necessary,   ///< leaves the reserve
    Convenient,  ///< leaves the reserve twice
};

/**
 * Returns true if a descriptor that was opened just now leaves enough for those who are served
 * already. The reserve is an eighth of the limit, 8 at least and 64 at most.
 *
 * The system gives out the lowest free number. A number close to the limit therefore means that
 * nearly all are in use.
 */
bool leavesReserve(int descriptor, Importance importance);

/** Returns a duplicate that is closed on exec, or -1 if it would not leave the reserve. */
int duplicateWithinReserve(int descriptor, Importance importance);

}  // namespace sockets

#endif
