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
 * What Obvista requires of a viewer plugin.
 *
 * A plugin is a Qt plugin in the folder lib/obvista beside the application: a shared library whose
 * root component is a QObject that implements this interface under the identifier below. Its name
 * is its file name less the suffix ".so" and a leading "lib".
 *
 * The host calls everything here on the GUI thread, in this order: it may set brokerPort, it may
 * ask needsRobotConnection(), it calls createWidget() once for each load request (twice when a
 * failed connection is tried again), and once a widget is docked it deletes the object at most
 * once: when the object's first dock is closed, its connection is lost, or the main window is
 * destroyed. An object without a dock is deleted by Qt when the process ends, and none is deleted
 * when a loss that belongs to no docked plugin ends the process. Loading the same plugin again
 * while its object lives gives the same object, so createWidget() may be called while earlier
 * widgets are still shown. The library stays mapped until the process ends.
 *
 * The widget, not this object, carries the signal `disconnected(WidgetInterface*)`. It is emitted
 * with this object's own pointer when the connection to the robot is lost; the host then deletes
 * the plugin. The widget may outlive the plugin object, and the plugin object may be deleted by Qt
 * after main() has returned, when neither widgets nor the application object exist any more.
 *
 * Deleting the object ends its connections silently: a loss that is reported while it is deleted,
 * or later, belongs to no plugin that the host knows, and the host then ends the application.
 */
class OBVISTA_PLUGINS_EXPORT WidgetInterface {
  public:
    WidgetInterface() = default;
    virtual ~WidgetInterface();

    WidgetInterface(const WidgetInterface&) = delete;
    WidgetInterface& operator=(const WidgetInterface&) = delete;

    /**
     * Connects to the robot and builds the widget to dock.
     *
     * Blocks the GUI thread while it connects, so an implementation bounds the time it takes.
     *
     * @param parent the host's main window; the widget may take it as parent
     * The address and port are what the user gave, unchecked. Of a plugin that the user loads and
     * whose needsRobotConnection() is false, they are empty and 0, unless it is tried again after
     * a KVError: then they are those of the robot that the user chose. A plugin named on the
     * command line is not asked, and gets "127.0.0.1" and 9559 where nothing is said.
     *
     * @param ip address or host name of the robot; may be empty
     * @param port the robot's port; any number, also one that is not between 1 and 65535
     * @param mediaFolder folder of shared pictures, with a trailing separator
     * @return the widget, which must declare the signal `disconnected(WidgetInterface*)`; null
     *         when there is nothing to show
     * @throws KVError when the robot cannot be reached
     */
    virtual QWidget* createWidget(QWidget* parent, const std::string& ip, int port,
                                  const std::string& mediaFolder) = 0;

    /** Whether the host has to obtain a robot's address and port before createWidget(). */
    virtual bool needsRobotConnection() = 0;

    /**
     * Port on which the plugin is to open its own local broker. 0 means the first free port from
     * 54010 upward, 54010 included. The host sets it only for a plugin named on the command line.
     */
    int brokerPort = 0;
};

/** Identifier under which a plugin's root object must answer, version included. */
#define OBVISTA_WIDGET_INTERFACE_IID "com.quorvane.obvista.WidgetInterface/0.1"

Q_DECLARE_INTERFACE(WidgetInterface, OBVISTA_WIDGET_INTERFACE_IID)

#endif
