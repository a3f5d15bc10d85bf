#ifndef OBVISTA_TESTS_SUPPORT_FREE_PORT_H
#define OBVISTA_TESTS_SUPPORT_FREE_PORT_H

namespace obvista_test {

/**
 * A port of loopback on which nothing listens; another program may take it at any time. It is not
 * one of those that the system gives to clients.
 */
int freePort();

}  // namespace obvista_test

#endif
