#ifndef OBVISTA_VIEWER_VIEWER_WIDGET_H
#define OBVISTA_VIEWER_VIEWER_WIDGET_H

#include <QPointer>
#include <QWidget>

#include <memory>
#include <widget_interface.h>

class QDockWidget;

namespace viewer {

class RobotLink;

/**
 * What every viewer's widget does about its robot and its dock.
 *
 * It outlives the plugin object that made it: when that closes the link, the widget stays silent.
 * It follows the dock that it is put into and ends its link when that dock is closed by the user or
 * by close(); a dock or window that is hidden, minimised or behind a tab changes nothing.
 */
class ViewerWidget : public QWidget {
    Q_OBJECT

  public:
    /** @param plugin is handed back with disconnected() and not used otherwise */
    ViewerWidget(std::shared_ptr<RobotLink> link, WidgetInterface* plugin, QWidget* parent);
    /** Closes the link. */
    ~ViewerWidget() override;

    bool eventFilter(QObject* watched, QEvent* event) override;

  Q_SIGNALS:
    /**
     * The robot is lost. Emitted once, on the GUI thread, and neither after the plugin object is
     * deleted nor after the widget's dock was closed. The receiver may delete the plugin object,
     * the widget, or both.
     */
    void disconnected(WidgetInterface* plugin);

  protected:
    void changeEvent(QEvent* event) override;

    /** To be called once, when the robot is lost. Whoever is told may delete the plugin and this
     *  widget, so the caller does nothing after it. */
    void reportLoss();

  private:
    void xFollowDock();
    void xOnDockAskedToClose();
    void xOnDockDecided();

    std::shared_ptr<RobotLink> fLink;
    WidgetInterface* fPlugin;
    QPointer<QDockWidget> fDock;
    bool fIsDockClosing = false;
    bool fHasLossToReport = false;
};

}  // namespace viewer

#endif
