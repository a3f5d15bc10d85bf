#ifndef OBVISTA_VIEWER_BROKER_PORT_H
#define OBVISTA_VIEWER_BROKER_PORT_H

#include <obvista/viewer/viewer_export.h>

#include <boost/shared_ptr.hpp>

#include <string>

class KVBroker;

namespace obvista {

/** First port of the search for a free one. */
constexpr int a_firstBrokerPort = 54010;

/**
 * Opens a viewer's broker on the loopback address.
 *
 * @param name shown to its peers
 * @param port 1 to 65535, or 0 for the first free port from a_firstBrokerPort upward, including
 *         that one
 * @throws KVError if the port is out of range or in use, or none is free
 */
OBVISTA_VIEWER_EXPORT boost::shared_ptr<KVBroker> openBroker(const std::string& name, int port);

}  // namespace obvista

#endif
