#ifndef OBVISTA_VIEWER_VIEWER_WIDGET_H
#define OBVISTA_VIEWER_VIEWER_WIDGET_H

#include <obvista/viewer/key_list.h>
#include <obvista/widget_interface.h>

#include <QPointer>
#include <QWidget>

#include <memory>
#include <vector>

class QDockWidget;
class QKeySequence;

namespace viewer {

class RobotHeader;
class RobotLink;

/**
 * What every viewer's widget does about its robot and its dock.
 *
 * It has a header with the robot's name, which the viewer puts above all else. Keys close and float
 * the dock, and F1 lists the keys, while the focus is in the viewer.
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

    /** The robot's name, or its address when it has none; plain text of at most 60 characters. */
    QString robotName() const;
    /** For instance "127.0.0.1:9559" or "[::1]:9559"; plain text. */
    QString robotAddress() const;

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
    void focusInEvent(QFocusEvent* event) override;

    /** Sets the part that gets the focus when the viewer is given it and the part is visible; the
     *  first control gets it otherwise. */
    void setMainPart(QWidget* part) { fMainPart = part; }

    /** To be called once, when the robot is lost. Whoever is told may delete the plugin and this
     *  widget, so the caller does nothing after it. */
    void reportLoss();

    RobotHeader* header() const { return fHeader; }
    /** Adds keys to the list that F1 opens, before those of every viewer. */
    void addKeys(const KeyGroup& group) { fKeys.push_back(group); }

  private:
    void xAddShortcut(const QKeySequence& keys, void (ViewerWidget::*slot)());
    void xCloseDock();
    void xFloatDock();
    void xListKeys();
    void xFollowDock();
    void xOnDockAskedToClose();
    void xOnDockDecided();

    std::shared_ptr<RobotLink> fLink;
    WidgetInterface* fPlugin;
    RobotHeader* fHeader;
    QPointer<QWidget> fMainPart;
    std::vector<KeyGroup> fKeys;
    QPointer<QDockWidget> fDock;
    bool fIsDockClosing = false;
    bool fHasLossToReport = false;
};

/** The title of a dialog, with the name of the robot of the viewer that `part` is in. */
QString dialogTitle(const QString& title, const QWidget* part);

}  // namespace viewer

#endif
