#ifndef OBVISTA_SOCKETS_DESCRIPTOR_RESERVE_H
#define OBVISTA_SOCKETS_DESCRIPTOR_RESERVE_H

#include <cstddef>

/** A reserve of file descriptors that connections do not use up. */
namespace sockets {

/** Returns the process's current limit on open descriptors (`ulimit -n`). */
std::size_t descriptorLimit();

/** Importance of a connection: how many descriptors it must leave free. */
enum class Importance {
    Necessary,   ///< leaves the reserve free
    Convenient,  ///< leaves twice the reserve free
};

/**
 * Returns true if a newly opened descriptor leaves enough for established connections. The reserve
 * is an eighth of the limit, at least 8 and at most 64.
 *
 * The system assigns the lowest free number, so a number close to the limit means that nearly all
 * are in use.
 */
bool leavesReserve(int descriptor, Importance importance);

/** Returns a duplicate with close-on-exec, or -1 if it would not leave the reserve. */
int duplicateWithinReserve(int descriptor, Importance importance);

}  // namespace sockets

#endif
