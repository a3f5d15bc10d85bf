#include <obvista/viewer/broker_port.h>
#include <obvista/viewer/plugin_links.h>
#include <obvista/viewer/robot_link.h>
#include <robaxi/kv_broker.h>

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

namespace obvista {

/** A list of links that others own. Used on the GUI thread. */
class LinkList {
  public:
    void add(const std::shared_ptr<RobotLink>& link) {
        fLinks.erase(std::remove_if(fLinks.begin(), fLinks.end(),
                                    [](const auto& weakLink) { return weakLink.expired(); }),
                     fLinks.end());
        fLinks.push_back(link);
    }

    /** Returns those that still exist. */
    std::vector<std::shared_ptr<RobotLink>> links() const {
        std::vector<std::shared_ptr<RobotLink>> held;
        for (const std::weak_ptr<RobotLink>& weakLink : fLinks) {
            if (std::shared_ptr<RobotLink> link = weakLink.lock()) {
                held.push_back(std::move(link));
            }
        }
        return held;
    }

  private:
    std::vector<std::weak_ptr<RobotLink>> fLinks;
};

namespace {

/** The links of all plugins, to be closed when the process exits. */
LinkList& openLinks() {
    static LinkList links;
    return links;
}

/**
 * Closes the links that are open when the process exits: exit() is called while windows are shown,
 * or Qt deletes the plugin object after main().
 *
 * Exit handlers and static destructors run in reverse order. This handler is registered after each
 * link is made, so it runs before anything that the link needs is destroyed, including its plugin's
 * statics.
 */
void closeAtExit(const std::shared_ptr<RobotLink>& link) {
    openLinks().add(link);
    std::atexit([] {
        for (const std::shared_ptr<RobotLink>& open : openLinks().links()) {
            open->closeSilently();
        }
    });
}

}  // namespace

PluginLinks::PluginLinks(std::string brokerName)
    : fBrokerName(std::move(brokerName)), fLinks(std::make_unique<LinkList>()) {
}

PluginLinks::~PluginLinks() {
    for (const std::shared_ptr<RobotLink>& link : fLinks->links()) {
        link->close();
    }
}

/** The broker in use; another one if there is none or another port is asked for now. */
boost::shared_ptr<KVBroker> PluginLinks::xBroker(int port) const {
    const boost::shared_ptr<KVBroker> inUse = fBroker.lock();
    const bool fits = inUse && (port == 0 || port == inUse->getPort());
    return fits ? inUse : openBroker(fBrokerName, port);
}

void PluginLinks::xAdd(const boost::shared_ptr<KVBroker>& broker,
                       const std::shared_ptr<RobotLink>& link) {
    fBroker = broker;
    fLinks->add(link);
    closeAtExit(link);
}

}  // namespace obvista
