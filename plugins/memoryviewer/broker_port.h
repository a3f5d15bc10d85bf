#ifndef OBVISTA_MEMORYVIEWER_BROKER_PORT_H
#define OBVISTA_MEMORYVIEWER_BROKER_PORT_H

#include <boost/shared_ptr.hpp>

class KVBroker;

namespace memoryviewer {

/** The port at which the search for a free one begins. */
constexpr int a_firstBrokerPort = 54010;

/**
 * Opens a viewer's own broker, on the loopback address.
 *
 * @param port 1 to 65535, or 0 for the first free port from a_firstBrokerPort upward, itself
 *             included
 * @throws KVError when the port is out of range or in use, or none is free
 */
boost::shared_ptr<KVBroker> openBroker(int port);

}  // namespace memoryviewer

#endif
