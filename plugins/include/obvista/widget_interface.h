#ifndef OBVISTA_PLUGINS_WIDGET_INTERFACE_H
#define OBVISTA_PLUGINS_WIDGET_INTERFACE_H

#include <QtGlobal>
#include <QtPlugin>

#include <string>

class QWidget;

#if defined(OBVISTA_PLUGINS_LIBRARY)
#define OBVISTA_PLUGINS_EXPORT Q_DECL_EXPORT
#else
#define OBVISTA_PLUGINS_EXPORT Q_DECL_IMPORT
#endif

/**
 * The interface of a viewer plugin.
 *
 * A plugin is a Qt plugin in the folder lib/obvista beside the application: a shared library whose
 * root component is a QObject that implements this interface under the identifier below. Its name
 * is its file name without the suffix ".so" and a leading "lib".
 *
 * The host calls everything here on the GUI thread, in this order: it may set brokerPort, it may
 * call needsRobotConnection(), it calls createWidget() once for each load request (twice when a
 * failed connection is retried), and after a widget was docked it deletes the object at most once:
 * when the object's first dock is closed, its connection is lost, or the main window is destroyed.
 * Qt deletes an object without a dock when the process ends. No object is deleted when a loss that
 * belongs to no docked plugin ends the process. Loading the same plugin again while its object
 * exists returns the same object, so createWidget() may be called while earlier widgets are still
 * shown. The library stays mapped until the process ends.
 *
 * The widget, not this object, declares the signal `disconnected(WidgetInterface*)`. It is emitted
 * with this object's pointer when the connection to the robot is lost; the host then deletes the
 * plugin. The widget may outlive the plugin object, and Qt may delete the plugin object after
 * main() has returned, when neither widgets nor the application object exist any longer.
 *
 * The destructor closes the object's connections silently: a loss that is reported during or after
 * the destruction belongs to no plugin that the host knows, and the host then ends the application.
 */
class OBVISTA_PLUGINS_EXPORT WidgetInterface {
  public:
    WidgetInterface() = default;
    virtual ~WidgetInterface();

    WidgetInterface(const WidgetInterface&) = delete;
    WidgetInterface& operator=(const WidgetInterface&) = delete;

    /**
     * Connects to the robot and creates the widget to dock.
     *
     * Blocks the GUI thread while it connects, so an implementation must use a time-out.
     *
     * The address and port are the user's input, unchecked. For a plugin that the user loads and
     * whose needsRobotConnection() is false, they are empty and 0, except in a retry after a
     * KVError: then they are those of the robot that the user chose. For a plugin named on the
     * command line needsRobotConnection() is not called, and they default to "127.0.0.1" and 9559.
     *
     * @param parent the host's main window; the widget may use it as parent
     * @param ip address or host name of the robot; may be empty
     * @param port the robot's port; any number, even outside 1 to 65535
     * @param mediaFolder folder of shared pictures, with a trailing separator
     * @return the widget, which must declare the signal `disconnected(WidgetInterface*)`; null if
     *         there is nothing to show
     * @throws KVError if the robot cannot be reached
     */
    virtual QWidget* createWidget(QWidget* parent, const std::string& ip, int port,
                                  const std::string& mediaFolder) = 0;

    /** Returns true if the host must obtain a robot's address and port before createWidget(). */
    virtual bool needsRobotConnection() = 0;

    /**
     * Port on which the plugin opens its local broker. 0 selects the first free port from 54010
     * upward, including 54010. The host sets it only for a plugin named on the command line.
     */
    int brokerPort = 0;
};

/** Identifier of the interface, including its version, that a plugin's root object must have. */
#define OBVISTA_WIDGET_INTERFACE_IID "com.quorvane.obvista.WidgetInterface/0.1"

Q_DECLARE_INTERFACE(WidgetInterface, OBVISTA_WIDGET_INTERFACE_IID)

#endif
