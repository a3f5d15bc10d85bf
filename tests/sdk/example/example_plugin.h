#ifndef EXAMPLE_PLUGIN_H
#define EXAMPLE_PLUGIN_H

#include <QObject>

#include <obvista/widget_interface.h>

/** The library's root object: what the host talks to. */
class ExamplePlugin : public QObject, public WidgetInterface {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID OBVISTA_WIDGET_INTERFACE_IID)
    Q_INTERFACES(WidgetInterface)

  public:
    /** Ends the connections; the widgets may live on, and are not touched. */
    ~ExamplePlugin() override;

    QWidget* createWidget(QWidget* parent, const std::string& ip, int port,
                          const std::string& mediaFolder) override;
    bool needsRobotConnection() override { return true; }
};

#endif
