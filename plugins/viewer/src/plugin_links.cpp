#include <obvista/viewer/broker_port.h>
#include <obvista/viewer/plugin_links.h>
#include <obvista/viewer/robot_link.h>
#include <robaxi/kv_broker.h>

#include <utility>

namespace viewer {

PluginLinks::PluginLinks(std::string brokerName) : fBrokerName(std::move(brokerName)) {
}

PluginLinks::~PluginLinks() {
    for (const std::shared_ptr<RobotLink>& link : fLinks.links()) {
        link->close();
    }
}

boost::shared_ptr<KVBroker> PluginLinks::broker(int port) const {
    const boost::shared_ptr<KVBroker> inUse = fBroker.lock();
    const bool fits = inUse && (port == 0 || port == inUse->getPort());
    return fits ? inUse : openBroker(fBrokerName, port);
}

void PluginLinks::add(const boost::shared_ptr<KVBroker>& broker,
                      const std::shared_ptr<RobotLink>& link) {
    fBroker = broker;
    fLinks.add(link);
}

}  // namespace viewer
