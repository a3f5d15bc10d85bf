#ifndef OBVISTA_TESTS_SUPPORT_FREE_PORT_H
#define OBVISTA_TESTS_SUPPORT_FREE_PORT_H

namespace obvista_test {

/**
 * Returns a port of the loopback on which nothing listens, and which no other test chooses while
 * this process runs. It is not in the range that the system assigns to clients.
 */
int freePort();

}  // namespace obvista_test

#endif
