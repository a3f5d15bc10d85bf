#ifndef OBVISTA_MEMORYVIEWER_MEMORY_VIEWER_PLUGIN_H
#define OBVISTA_MEMORYVIEWER_MEMORY_VIEWER_PLUGIN_H

#include <obvista/viewer/plugin_links.h>
#include <obvista/widget_interface.h>

#include <QObject>

#include <string>

namespace memoryviewer {

/** The memory viewer's plugin object. Deleting it closes its connections; their widgets stay. */
class MemoryViewerPlugin : public QObject, public WidgetInterface {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID OBVISTA_WIDGET_INTERFACE_IID)
    Q_INTERFACES(WidgetInterface)

  public:
    QWidget* createWidget(QWidget* parent, const std::string& ip, int port,
                          const std::string& mediaFolder) override;
    bool needsRobotConnection() override { return true; }

  private:
    viewer::PluginLinks fLinks{"ObvistaMemoryViewer"};
};

}  // namespace memoryviewer

#endif
