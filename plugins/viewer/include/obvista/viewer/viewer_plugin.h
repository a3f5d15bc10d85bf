#ifndef OBVISTA_VIEWER_VIEWER_PLUGIN_H
#define OBVISTA_VIEWER_VIEWER_PLUGIN_H

#include <obvista/viewer/plugin_links.h>
#include <obvista/widget_interface.h>

#include <QObject>

#include <string>
#include <utility>

namespace obvista {

/**
 * The base class of a viewer's plugin object: opens a link and makes the widget that shows it.
 * Deleting the object closes its links; their widgets stay.
 *
 * ```cpp
 * class BatteryPlugin : public obvista::ViewerPlugin<BatteryLink, BatteryWidget> {
 *     Q_OBJECT
 *     Q_PLUGIN_METADATA(IID OBVISTA_WIDGET_INTERFACE_IID)
 *     Q_INTERFACES(WidgetInterface)
 *
 *   public:
 *     BatteryPlugin() : ViewerPlugin("ObvistaBatteryViewer") {}
 * };
 * ```
 *
 * @tparam Link derived from RobotLink
 * @tparam Widget derived from ViewerWidget; made with (std::shared_ptr<Link>, WidgetInterface*,
 *         QWidget* parent)
 */
template <class Link, class Widget>
class ViewerPlugin : public QObject, public WidgetInterface {
  public:
    /** See PluginLinks::open() for what it throws. */
    QWidget* createWidget(QWidget* parent, const std::string& ip, int port,
                          const std::string& /*mediaFolder*/) override {
        return new Widget(fLinks.open<Link>(brokerPort, ip, port), this, parent);
    }
    bool needsRobotConnection() override { return true; }

  protected:
    /** @param brokerName under which the plugin's broker is known to its peers */
    explicit ViewerPlugin(std::string brokerName) : fLinks(std::move(brokerName)) {}

  private:
    PluginLinks fLinks;
};

}  // namespace obvista

#endif
