#ifndef OBVISTA_MEMORYVIEWER_MEMORY_VIEWER_PLUGIN_H
#define OBVISTA_MEMORYVIEWER_MEMORY_VIEWER_PLUGIN_H

#include <QObject>

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

#include <memory>
#include <string>
#include <vector>
#include <widget_interface.h>

class KVBroker;

namespace memoryviewer {

class MemoryLink;

/**
 * The memory viewer's plugin object.
 *
 * Each createWidget() opens a connection of its own. They share one broker, since the object has
 * one broker port: a second viewer would otherwise find a given port taken by the first. The broker
 * lives as long as one of the connections, so that no port stays open behind the last of them, nor
 * behind a createWidget() that failed.
 *
 * Deleting the object closes its connections; their widgets stay. When that happens after main(),
 * the connections are closed already and nothing is touched.
 */
class MemoryViewerPlugin : public QObject, public WidgetInterface {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID OBVISTA_WIDGET_INTERFACE_IID)
    Q_INTERFACES(WidgetInterface)

  public:
    /** Seconds within which createWidget() has connected or throws. */
    static constexpr double a_connectTimeOut = 2.5;

    MemoryViewerPlugin();
    ~MemoryViewerPlugin() override;

    QWidget* createWidget(QWidget* parent, const std::string& ip, int port,
                          const std::string& mediaFolder) override;
    bool needsRobotConnection() override { return true; }

  private:
    boost::shared_ptr<KVBroker> xBroker();

    boost::weak_ptr<KVBroker> fBroker;
    std::vector<std::weak_ptr<MemoryLink>> fLinks;
};

}  // namespace memoryviewer

#endif
