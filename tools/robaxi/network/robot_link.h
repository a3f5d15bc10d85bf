#ifndef OBVISTA_TOOLS_ROBAXI_NETWORK_ROBOT_LINK_H
#define OBVISTA_TOOLS_ROBAXI_NETWORK_ROBOT_LINK_H

#include "network/host_search.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_settings.h>

#include <boost/shared_ptr.hpp>

#include <memory>
#include <string>

namespace robaxi_tool {

/** The user's settings. @throws Failure WrongUsage with a sentence that names file and line */
KVSettings loadSettings();

/**
 * Makes the program's broker for a robot, which does not listen.
 *
 * @param settings the user's; what they say of the robot's name holds for Avahi's address too
 * @throws KVError
 */
boost::shared_ptr<KVBroker> makeBroker(KVSettings settings, const Endpoint& endpoint);

/** Finds a robot and connects to it: what every command that talks to one does first. */
class RobotLink {
  public:
    /**
     * @param host HOST as the user wrote it
     * @param timeout seconds to find it, again to connect to it, and again for each call
     * @throws UsageError, Failure, KVError, Interrupted
     */
    RobotLink(const std::string& host, int timeout, Interruption& interruption);

    const Endpoint& endpoint() const { return fEndpoint; }
    const boost::shared_ptr<KVConnection>& connection() const { return fConnection; }
    int timeout() const { return fTimeout; }

    /** One of its modules. @throws KVError */
    std::unique_ptr<KVProxy> module(const std::string& name) const;

  private:
    RobotLink(const KVSettings& settings, const Endpoint& endpoint, int timeout);

    int fTimeout;
    Endpoint fEndpoint;
    boost::shared_ptr<KVBroker> fBroker;
    boost::shared_ptr<KVConnection> fConnection;
};

}  // namespace robaxi_tool

#endif
