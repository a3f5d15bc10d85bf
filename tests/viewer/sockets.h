#ifndef OBVISTA_TESTS_SOCKETS_H
#define OBVISTA_TESTS_SOCKETS_H

#include <QStringList>

namespace obvista_test {

/**
 * Returns the first port of loopback from `first` upward on which nothing listens at the moment.
 */
int firstFreePortFrom(int first);

/**
 * Returns the addresses, in the kernel's hexadecimal form, on which this machine listens on a port.
 */
QStringList listeningAddresses(int port);

/** Returns the number of connections of this machine to a port, counted on the connecting side. */
int connectionsTo(int port);

}  // namespace obvista_test

#endif
