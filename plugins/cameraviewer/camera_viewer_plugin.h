#ifndef OBVISTA_CAMERAVIEWER_CAMERA_VIEWER_PLUGIN_H
#define OBVISTA_CAMERAVIEWER_CAMERA_VIEWER_PLUGIN_H

#include <obvista/viewer/plugin_links.h>
#include <obvista/widget_interface.h>

#include <QObject>

#include <string>

namespace cameraviewer {

/**
 * The camera viewer's plugin object. Its destructor closes the connections; their widgets remain.
 */
class CameraViewerPlugin : public QObject, public WidgetInterface {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID OBVISTA_WIDGET_INTERFACE_IID)
    Q_INTERFACES(WidgetInterface)

  public:
    QWidget* createWidget(QWidget* parent, const std::string& ip, int port,
                          const std::string& mediaFolder) override;
    bool needsRobotConnection() override { return true; }

  private:
    viewer::PluginLinks fLinks{"ObvistaCameraViewer"};
};

}  // namespace cameraviewer

#endif
