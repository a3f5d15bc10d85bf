#ifndef OBVISTA_CAMERAVIEWER_CAMERA_VIEWER_PLUGIN_H
#define OBVISTA_CAMERAVIEWER_CAMERA_VIEWER_PLUGIN_H

#include "camera_link.h"
#include "camera_viewer_widget.h"

#include <obvista/viewer/viewer_plugin.h>

namespace cameraviewer {

/** The camera viewer's plugin object. */
class CameraViewerPlugin : public obvista::ViewerPlugin<CameraLink, CameraViewerWidget> {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID OBVISTA_WIDGET_INTERFACE_IID)
    Q_INTERFACES(WidgetInterface)

  public:
    CameraViewerPlugin() : ViewerPlugin("ObvistaCameraViewer") {}
};

}  // namespace cameraviewer

#endif
