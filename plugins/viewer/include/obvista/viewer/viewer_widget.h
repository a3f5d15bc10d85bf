#ifndef OBVISTA_VIEWER_VIEWER_WIDGET_H
#define OBVISTA_VIEWER_VIEWER_WIDGET_H

#include <obvista/viewer/key_help.h>
#include <obvista/viewer/link_state.h>
#include <obvista/viewer/replay_state.h>
#include <obvista/viewer/viewer_export.h>
#include <obvista/widget_interface.h>

#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <memory>
#include <string>
#include <vector>

class QDockWidget;

namespace obvista {

class Banner;
class RobotHeader;
class RobotLink;
class TimeBar;

/**
 * The base class of a viewer's widget: it receives the notices of its link, knows if the user can
 * see it, follows its dock, and has a header with the robot's name and a banner for what is wrong.
 * Keys close and float the dock, and F1 lists the keys, while the focus is in the viewer. A robot
 * that is a replay of a recording gets a time bar below the parts.
 *
 * If the user chooses "Reconnect when the robot returns" in the header, a lost robot interrupts the
 * link, and does not end it: the kit connects again, and the banner says so. The setting is common
 * to all viewers and remembered.
 *
 * ```cpp
 * connect(this, &ViewerWidget::newsArrived, this, [this] { xShow(fLink->take()); });
 * connect(this, &ViewerWidget::seenChanged, this, [this](bool seen) { fLink->follow(seen); });
 * ```
 *
 * It outlives the plugin object that made it: when that closes the link, the widget stays and says
 * so. It closes its link when the dock that it is put into is closed by the user or by close(); a
 * dock or window that is hidden, minimised or behind a tab changes nothing of that.
 *
 * Used on the GUI thread. No signal is emitted before the constructor of the derived class has
 * returned.
 */
class OBVISTA_VIEWER_EXPORT ViewerWidget : public QWidget {
    Q_OBJECT

  public:
    /**
     * @param link receives its notices from now on
     * @param plugin handed back with disconnected() and not used otherwise
     */
    ViewerWidget(std::shared_ptr<RobotLink> link, WidgetInterface* plugin, QWidget* parent);
    /** Closes the link. */
    ~ViewerWidget() override;

    /** The robot's name, or its address if it has none; plain text of at most 60 characters. */
    QString robotName() const;
    /** For instance "127.0.0.1:9559" or "[::1]:9559"; plain text. */
    QString robotAddress() const;

    LinkState linkState() const { return fLinkState; }  ///< State, with the reason of an end

    /** Returns the newest state of a replay; isReplay() is false for other robots. */
    const ReplayState& replayState() const { return fReplayState; }

    bool eventFilter(QObject* watched, QEvent* event) override;  ///< Follows the dock

  Q_SIGNALS:
    /**
     * The robot is lost. Emitted once, after linkEnded(), and neither after the plugin object was
     * deleted nor after the widget's dock was closed. The receiver may delete the plugin object,
     * the widget, or both.
     */
    void disconnected(WidgetInterface* plugin);

    /** The link has given notice that there is something to take: once for all that has come since
     *  the signal before. Not emitted after the link has ended. */
    void newsArrived();

    /** replayState() has changed: up to 25 times a second while the replay plays. */
    void replayChanged();

    /** The link has ended, as linkState() says. Emitted once; what came before the end and was not
     *  taken yet can still be taken. */
    void linkEnded();

    /**
     * The robot is lost, and the kit tries to connect again, as linkState() says: keep what is
     * shown, and mark it as old. What came before can still be taken. linkRestored() or linkEnded()
     * follows.
     */
    void linkInterrupted();
    /** The robot has returned, and the link has restarted what it had; see RobotLink::restart(). */
    void linkRestored();
    /** Emitted before linkRestored() if the user has accepted another robot: robotName() and the
     *  address are those of that robot, to which recordings must not be continued. */
    void robotReplaced();

    /** The robot does not answer from now on, or answers again. No end is reported if the link is
     *  interrupted or ends. */
    void silenceChanged(bool isSilent);

    /** The user can see the viewer from now on, or cannot any more; see isSeen(const QWidget&).
     *  Noticed within 0.2 s. A new viewer is not seen yet. */
    void seenChanged(bool isSeen);

  protected:
    void changeEvent(QEvent* event) override;        ///< Follows palette, font and language
    void focusInEvent(QFocusEvent* event) override;  ///< Passes the focus to the main part
    void showEvent(QShowEvent* event) override;      ///< Looks for the dock
    void hideEvent(QHideEvent* event) override;      ///< Reports the visibility

    /**
     * Lays the viewer out, from top to bottom: the robot's name in large letters and its address,
     * a bar of controls, the banner, and further parts.
     *
     * @param main one of the parts, which gets the room that is left
     */
    void layOut(QWidget* bar, const std::vector<QWidget*>& parts, QWidget* main);

    /** Shows a sentence in the banner above the parts, or hides it if the sentence is empty. When
     *  the link ends the banner says so, until it is set to something else. While the robot does
     *  not answer, the banner says that instead; while the link is interrupted it says that before
     *  the sentence. */
    void setBanner(const QString& sentence);

    /**
     * Sets the part that gets the focus when the viewer gets it and the part is visible; otherwise
     * the first control gets it.
     */
    void setMainPart(QWidget* part) { fMainPart = part; }

    /** Sets the camera that the viewer shows: the time bar of a replay steps by its frames. */
    void setReplayCamera(const std::string& camera);

    /** Adds keys to the list opened by F1, before those of every viewer. */
    void addKeys(const KeyGroup& group) { fKeys.push_back(group); }

  private:
    void xOnNotice();
    void xEnd(LinkState state);
    void xInterrupt();
    void xTryAgain();
    void xGiveUp();
    void xOnTick();
    QString xInterruptedText() const;
    void xShowReplay(const ReplayState& state);
    void xReportLoss();
    void xUpdateSeen();
    void xUpdateSilence();
    void xSetSilence(const QString& sentence);
    void xShowBanner();
    void xAddShortcut(const QKeySequence& keys, void (ViewerWidget::*slot)());
    void xCloseDock();
    void xFloatDock();
    void xListKeys();
    void xFollowDock();
    void xOnDockAskedToClose();
    void xOnDockDecided();

    std::shared_ptr<RobotLink> fLink;
    WidgetInterface* fPlugin;
    LinkState fLinkState = LinkState::Connected;
    ReplayState fReplayState;
    RobotHeader* fHeader;
    Banner* fBanner;
    QString fSentence;  // of the banner, but not while the robot is silent
    QString fSilence;   // sentence about that; empty while the robot answers
    QElapsedTimer fSinceLoss;
    QElapsedTimer fSinceNote;
    TimeBar* fTimeBar;
    QPointer<QWidget> fMainPart;
    std::vector<KeyGroup> fKeys;
    QTimer fSeenTimer;
    bool fIsSeen = false;
    QPointer<QDockWidget> fDock;
    bool fIsDockClosing = false;
    bool fHasLossToReport = false;
};

/** Returns a dialog title with the robot's name of the viewer that contains `part`. */
OBVISTA_VIEWER_EXPORT QString dialogTitle(const QString& title, const QWidget* part);

}  // namespace obvista

#endif
