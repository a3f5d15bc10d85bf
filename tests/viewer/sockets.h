#ifndef OBVISTA_TESTS_SOCKETS_H
#define OBVISTA_TESTS_SOCKETS_H

#include <QStringList>

namespace obvista_test {

/** The first port of loopback from `first` upward on which nothing listens at the moment. */
int firstFreePortFrom(int first);

/** The addresses, in the kernel's hexadecimal form, on which this machine listens on a port. */
QStringList listeningAddresses(int port);

/** How many connections of this machine lead to a port, seen from the connecting side. */
int connectionsTo(int port);

}  // namespace obvista_test

#endif
