#ifndef OBVISTA_MEMORYVIEWER_MEMORY_VIEWER_PLUGIN_H
#define OBVISTA_MEMORYVIEWER_MEMORY_VIEWER_PLUGIN_H

#include "session/memory_link.h"
#include "view/memory_viewer_widget.h"

#include <obvista/viewer/viewer_plugin.h>

namespace memoryviewer {

/** The memory viewer's plugin object. */
class MemoryViewerPlugin : public obvista::ViewerPlugin<MemoryLink, MemoryViewerWidget> {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID OBVISTA_WIDGET_INTERFACE_IID)
    Q_INTERFACES(WidgetInterface)

  public:
    MemoryViewerPlugin() : ViewerPlugin("ObvistaMemoryViewer") {}
};

}  // namespace memoryviewer

#endif
