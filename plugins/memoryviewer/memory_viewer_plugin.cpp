#include "memory_viewer_plugin.h"

#include "session/memory_link.h"
#include "view/memory_viewer_widget.h"

namespace memoryviewer {

QWidget* MemoryViewerPlugin::createWidget(QWidget* parent, const std::string& ip, int port,
                                          const std::string& /*mediaFolder*/) {
    const boost::shared_ptr<KVBroker> broker = fLinks.broker(brokerPort);
    const std::shared_ptr<MemoryLink> link =
        MemoryLink::open(broker, ip, port, viewer::PluginLinks::a_connectTimeOut);
    auto* widget = new MemoryViewerWidget(link, this, parent);
    fLinks.add(broker, link);
    return widget;
}

}  // namespace memoryviewer
