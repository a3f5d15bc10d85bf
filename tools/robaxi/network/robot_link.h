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

/**
 * Loads the user's settings. @throws Failure WrongUsage with a sentence that names file and line
 */
KVSettings loadSettings();

/** Creates the program's broker; it does not listen. @throws KVError */
boost::shared_ptr<KVBroker> makeBroker(const KVSettings& settings);

/** A robot that was found and connected to; every command that contacts one begins with this. */
class RobotLink {
  public:
    /**
     * @param host HOST as the user wrote it
     * @param timeout seconds to find it, then to connect to it, and then for each call
     * @throws UsageError, Failure, KVError, Interrupted
     */
    RobotLink(const std::string& host, int timeout, Interruption& interruption);
    /** Connects to a robot that was found before. @throws Failure, KVError */
    RobotLink(const KVSettings& settings, const Endpoint& endpoint, int timeout);

    const Endpoint& endpoint() const { return fEndpoint; }
    const std::shared_ptr<KVConnection>& connection() const { return fConnection; }
    int timeout() const { return fTimeout; }

    /** Returns one of its modules. @throws KVError */
    std::unique_ptr<KVProxy> module(const std::string& name) const;

  private:
    int fTimeout;
    Endpoint fEndpoint;
    boost::shared_ptr<KVBroker> fBroker;
    std::shared_ptr<KVConnection> fConnection;
};

}  // namespace robaxi_tool

#endif
