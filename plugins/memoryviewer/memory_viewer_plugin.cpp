#include "memory_viewer_plugin.h"

#include "broker_port.h"
#include "memory_link.h"
#include "memory_viewer_widget.h"

#include <robaxi/kv_broker.h>

#include <algorithm>

namespace memoryviewer {

MemoryViewerPlugin::MemoryViewerPlugin() = default;

MemoryViewerPlugin::~MemoryViewerPlugin() {
    for (const std::weak_ptr<MemoryLink>& weakLink : fLinks) {
        if (const std::shared_ptr<MemoryLink> link = weakLink.lock()) {
            link->close();
        }
    }
}

QWidget* MemoryViewerPlugin::createWidget(QWidget* parent, const std::string& ip, int port,
                                          const std::string& /*mediaFolder*/) {
    const boost::shared_ptr<KVBroker> broker = xBroker();
    const std::shared_ptr<MemoryLink> link = MemoryLink::open(broker, ip, port, a_connectTimeOut);
    auto* widget = new MemoryViewerWidget(link, this, parent);
    fBroker = broker;
    fLinks.erase(std::remove_if(fLinks.begin(), fLinks.end(),
                                [](const auto& weakLink) { return weakLink.expired(); }),
                 fLinks.end());
    fLinks.push_back(link);
    return widget;
}

/** The broker in use; another one when there is none or brokerPort now asks for another port. */
boost::shared_ptr<KVBroker> MemoryViewerPlugin::xBroker() {
    const boost::shared_ptr<KVBroker> broker = fBroker.lock();
    const bool fits = broker && (brokerPort == 0 || brokerPort == broker->getPort());
    return fits ? broker : openBroker(brokerPort);
}

}  // namespace memoryviewer
