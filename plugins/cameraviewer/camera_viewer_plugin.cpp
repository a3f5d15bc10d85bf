#include "camera_viewer_plugin.h"

#include "camera_link.h"
#include "camera_viewer_widget.h"

namespace cameraviewer {

QWidget* CameraViewerPlugin::createWidget(QWidget* parent, const std::string& ip, int port,
                                          const std::string& /*mediaFolder*/) {
    const boost::shared_ptr<KVBroker> broker = fLinks.broker(brokerPort);
    const std::shared_ptr<CameraLink> link =
        CameraLink::open(broker, ip, port, viewer::PluginLinks::a_connectTimeOut);
    auto* widget = new CameraViewerWidget(link, this, parent);
    fLinks.add(broker, link);
    return widget;
}

}  // namespace cameraviewer
