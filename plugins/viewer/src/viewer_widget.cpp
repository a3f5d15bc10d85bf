#include "banner.h"
#include "key_list.h"
#include "replay_client.h"
#include "robot_header.h"
#include "time_bar.h"

#include <base/address.h>
#include <obvista/viewer/labels.h>
#include <obvista/viewer/plain_text.h>
#include <obvista/viewer/robot_link.h>
#include <obvista/viewer/viewer_widget.h>
#include <obvista/viewer/widget_seen.h>

#include <QAction>
#include <QDockWidget>
#include <QEvent>
#include <QFocusEvent>
#include <QGuiApplication>
#include <QSettings>
#include <QShortcut>
#include <QVBoxLayout>

#include <optional>
#include <utility>

namespace obvista {

namespace {

constexpr int a_maxRobotNameLength = 60;
/** Period in milliseconds of checking visibility and silence, of which no event tells. */
constexpr int a_seenTime = 200;
/** Milliseconds between two looks at the robot's announcement. */
constexpr qint64 a_noteTime = 1000;
/** Seconds after which a loss is given in minutes. */
constexpr qint64 a_longLoss = 120;
constexpr qint64 a_millisecondsPerSecond = 1000;
constexpr qint64 a_secondsPerMinute = 60;
const QLatin1String a_reconnectKey("Viewers/reconnect");
constexpr Qt::Key a_listKeys = Qt::Key_F1;
const QKeySequence a_closeKeys(Qt::CTRL + Qt::Key_W);
const QKeySequence a_floatKeys(Qt::CTRL + Qt::SHIFT + Qt::Key_F);

/** Another viewer, also of another process, may have changed it. */
bool isReconnectWanted() {
    return QSettings().value(a_reconnectKey).toBool();
}

/** Returns true if windows are those of a window system; it may have several of Qt's plug-ins. */
bool isPlatform(const char* name) {
    return QGuiApplication::platformName().startsWith(QLatin1String(name));
}

}  // namespace

ViewerWidget::ViewerWidget(std::shared_ptr<RobotLink> link, WidgetInterface* plugin,
                           QWidget* parent)
    : QWidget(parent),
      fLink(std::move(link)),
      fPlugin(plugin),
      fHeader(new RobotHeader(this)),
      fBanner(new Banner(this)),
      fTimeBar(new TimeBar(this)),
      fSeenTimer(this) {
    fHeader->setRobot(robotName(), robotAddress());
    QAction* reconnect = fHeader->reconnectAction();
    const auto showSetting = [reconnect] { reconnect->setChecked(isReconnectWanted()); };
    showSetting();
    connect(fHeader, &RobotHeader::menuOpening, this, showSetting);
    connect(reconnect, &QAction::triggered, this,
            [](bool isWanted) { QSettings().setValue(a_reconnectKey, isWanted); });
    connect(fHeader, &RobotHeader::dockWanted, this, &ViewerWidget::xFloatDock);
    // Queued, since a receiver of the loss may delete the button.
    connect(fBanner, &Banner::giveUpWanted, this, &ViewerWidget::xGiveUp, Qt::QueuedConnection);
    connect(fBanner, &Banner::connectWanted, this, [this] {
        fLink->acceptStranger();
        xTryAgain();
    });
    fTimeBar->hide();
    connect(fTimeBar, &TimeBar::wanted, this,
            [this](const std::string& method, const KVValue::List& arguments) {
                if (ReplayClient* replay = fLink->replay()) {
                    replay->call(method, arguments);
                }
            });
    fSeenTimer.setObjectName(QStringLiteral("seenTimer"));
    connect(&fSeenTimer, &QTimer::timeout, this, &ViewerWidget::xOnTick);
    fSeenTimer.start(a_seenTime);
    xFollowDock();
    xAddShortcut(a_closeKeys, &ViewerWidget::xCloseDock);
    xAddShortcut(a_floatKeys, &ViewerWidget::xFloatDock);
    xAddShortcut(a_listKeys, &ViewerWidget::xListKeys);
    fLink->notice().set([this] {
        QMetaObject::invokeMethod(
            this, [this] { xOnNotice(); }, Qt::QueuedConnection);
    });
}

ViewerWidget::~ViewerWidget() {
    fLink->closeSilently();
}

QString ViewerWidget::robotName() const {
    const QString name = plainText(fLink->robotName(), a_maxRobotNameLength);
    return name.trimmed().isEmpty() ? robotAddress() : name;
}

QString ViewerWidget::robotAddress() const {
    return plainText(base::hostAndPort(fLink->address(), fLink->port()));
}

bool ViewerWidget::eventFilter(QObject* watched, QEvent* event) {
    // In this order: a dock that is being destroyed, and sends other events, is no longer a dock.
    if (event->type() == QEvent::Close && watched == fDock) {
        xOnDockAskedToClose();
    }
    return QWidget::eventFilter(watched, event);
}

void ViewerWidget::changeEvent(QEvent* event) {
    if (event->type() == QEvent::ParentChange) {
        xFollowDock();
    }
    QWidget::changeEvent(event);
}

/**
 * Not a focus proxy: Tab from the last control would lead to the viewer, and so into the middle of
 * the tab order, or lose the focus while the part is hidden.
 */
void ViewerWidget::focusInEvent(QFocusEvent* event) {
    if (fMainPart && fMainPart->isVisible()) {
        fMainPart->setFocus(event->reason());
    } else {
        focusNextPrevChild(true);
    }
}

void ViewerWidget::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    xUpdateSeen();
}

void ViewerWidget::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    xUpdateSeen();
}

void ViewerWidget::layOut(QWidget* bar, const std::vector<QWidget*>& parts, QWidget* main) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(fHeader);
    column->addWidget(bar);
    column->addWidget(fBanner);
    for (QWidget* part : parts) {
        column->addWidget(part, part == main ? 1 : 0);
    }
    column->addWidget(fTimeBar);
    // Made before the parts, so it would come first.
    for (QWidget* part : parts) {
        if (part == parts.back()) {
            setTabOrder(part, fTimeBar);
        }
    }
    fHeader->addButtons();  // last, so that the first control is one of the bar
}

void ViewerWidget::setReplayCamera(const std::string& camera) {
    fTimeBar->setCamera(camera);
}

void ViewerWidget::setBanner(const QString& sentence) {
    fSentence = sentence;
    xShowBanner();
}

void ViewerWidget::xShowBanner() {
    if (fLinkState != LinkState::Interrupted) {
        fBanner->showSentence(fSilence.isEmpty() ? fSentence : fSilence);
        return;
    }
    const QString stranger = plainText(fLink->stranger(), a_maxRobotNameLength).trimmed();
    if (!stranger.isEmpty()) {
        //: %1 is the robot that answers, %2 the one that was lost
        fBanner->showSentence(
            tr("\"%1\" answers in the place of \"%2\". Connect to it?").arg(stranger, robotName()),
            Banner::Buttons::ConnectOrGiveUp);
        return;
    }
    const QString state = xInterruptedText();
    fBanner->showSentence(fSentence.isEmpty() ? state : state + QStringLiteral(". ") + fSentence,
                          Banner::Buttons::GiveUp);
}

QString ViewerWidget::xInterruptedText() const {
    const qint64 seconds = fSinceLoss.elapsed() / a_millisecondsPerSecond;
    return seconds < a_longLoss
               //: %1 is a number of seconds
               ? tr("Lost %1 s ago; trying again").arg(seconds)
               //: %1 is a number of minutes
               : tr("Lost %1 min ago; trying again").arg(seconds / a_secondsPerMinute);
}

void ViewerWidget::xOnTick() {
    xUpdateSeen();
    if (fLinkState == LinkState::Interrupted) {
        xTryAgain();
        return;
    }
    xUpdateSilence();
    if (fLinkState == LinkState::Connected &&
        (!fSinceNote.isValid() || fSinceNote.hasExpired(a_noteTime))) {
        fLink->noteAnnouncement();
        fSinceNote.start();
    }
}

void ViewerWidget::xUpdateSilence() {
    const double silence = fLinkState == LinkState::Connected ? fLink->silence() : 0;
    //: %1 is the number of seconds since the robot was last heard.
    const QString text = tr("No answer for %1 s");
    xSetSilence(silence > 0 ? text.arg(static_cast<int>(silence)) : QString());
}

void ViewerWidget::xSetSilence(const QString& sentence) {
    if (sentence == fSilence) {
        return;
    }
    const bool wasSilent = !fSilence.isEmpty();
    fSilence = sentence;
    xShowBanner();
    if (wasSilent == fSilence.isEmpty()) {
        Q_EMIT silenceChanged(!wasSilent);
    }
}

void ViewerWidget::xOnNotice() {
    fLink->notice().clear();
    if (fLinkState == LinkState::Interrupted) {
        if (fLink->isClosed()) {
            xEnd(LinkState::Closed);
        } else {
            xTryAgain();
        }
        return;
    }
    if (fLinkState != LinkState::Connected) {
        return;
    }
    if (fLink->isClosed()) {
        xEnd(LinkState::Closed);
    } else if (!fLink->isLost()) {
        // A robot that has returned may no longer be a replay; the bar remains until it answers.
        if (const std::optional<ReplayState> state = fLink->replay()->state()) {
            xShowReplay(*state);
        }
        Q_EMIT newsArrived();
    } else if (isReconnectWanted()) {
        xInterrupt();
    } else {
        xEnd(LinkState::Lost);
        xReportLoss();
    }
}

void ViewerWidget::xInterrupt() {
    fLinkState = LinkState::Interrupted;
    fSilence.clear();
    fSentence.clear();
    fSinceLoss.start();
    fTimeBar->setEnabled(false);
    fLink->startReconnecting();
    Q_EMIT linkInterrupted();
    xShowBanner();
}

void ViewerWidget::xTryAgain() {
    const RobotLink::Return result = fLink->reconnect();
    if (result == RobotLink::Return::None) {
        xShowBanner();
        return;
    }
    fLinkState = LinkState::Connected;
    fSentence.clear();
    fTimeBar->setEnabled(true);
    fHeader->setRobot(robotName(), robotAddress());
    if (result == RobotLink::Return::OtherRobot) {
        xShowReplay({});
        Q_EMIT robotReplaced();
    }
    Q_EMIT linkRestored();
    xShowBanner();
}

/** Called last in a turn of the event loop, like xReportLoss(). */
void ViewerWidget::xGiveUp() {
    if (fLinkState == LinkState::Interrupted) {
        fLink->stopReconnecting();
        xEnd(LinkState::Lost);
        xReportLoss();
    }
}

void ViewerWidget::xShowReplay(const ReplayState& state) {
    if (state == fReplayState) {
        return;
    }
    fReplayState = state;
    if (state.isReplay()) {
        fTimeBar->showState(state);
    }
    fTimeBar->setVisible(state.isReplay());
    Q_EMIT replayChanged();
}

void ViewerWidget::xEnd(LinkState state) {
    fLinkState = state;
    fTimeBar->setEnabled(false);
    fSilence.clear();
    setBanner(endText(state));
    Q_EMIT linkEnded();
}

/** Called last in a turn of the event loop, since a receiver may delete this. */
void ViewerWidget::xReportLoss() {
    fHasLossToReport = fIsDockClosing;
    if (!fIsDockClosing && !fLink->isClosed()) {
        Q_EMIT disconnected(fPlugin);
    }
}

void ViewerWidget::xUpdateSeen() {
    if (const bool isSeen = obvista::isSeen(*this); isSeen != fIsSeen) {
        fIsSeen = isSeen;
        Q_EMIT seenChanged(isSeen);
    }
}

void ViewerWidget::xFollowDock() {
    if (fDock) {
        fDock->removeEventFilter(this);
        fDock->disconnect(fHeader);
    }
    fDock = qobject_cast<QDockWidget*>(parentWidget());
    if (fDock) {
        fDock->installEventFilter(this);
        // On X11 Qt draws the title of a floating dock, with a button, and the window can be
        // dragged back. Elsewhere the desktop draws a title without, and on Wayland a dragged
        // window does not know where it is.
        if (!isPlatform("xcb")) {
            fHeader->showDockButton(fDock->isFloating());
            connect(fDock, &QDockWidget::topLevelChanged, fHeader, &RobotHeader::showDockButton);
        }
    }
}

/**
 * The dock's close event arrives before the dock has decided on it. From here on no loss is
 * reported; the next turn of the event loop checks whether the dock was closed.
 */
void ViewerWidget::xOnDockAskedToClose() {
    fIsDockClosing = true;
    QMetaObject::invokeMethod(
        this, [this] { xOnDockDecided(); }, Qt::QueuedConnection);
}

void ViewerWidget::xOnDockDecided() {
    if (!fIsDockClosing) {
        return;
    }
    fIsDockClosing = false;
    if (!fDock || fDock->isHidden()) {
        fLink->close();
    }
    if (fHasLossToReport) {
        xReportLoss();
    }
}

void ViewerWidget::xAddShortcut(const QKeySequence& keys, void (ViewerWidget::*slot)()) {
    auto* shortcut = new QShortcut(keys, this);
    shortcut->setContext(Qt::WidgetWithChildrenShortcut);
    shortcut->setAutoRepeat(false);
    connect(shortcut, &QShortcut::activated, this, slot);
}

void ViewerWidget::xCloseDock() {
    if (fDock && fDock->features().testFlag(QDockWidget::DockWidgetClosable)) {
        // Queued, since a receiver may delete the shortcut.
        QMetaObject::invokeMethod(fDock, &QWidget::close, Qt::QueuedConnection);
    }
}

/** Keeps the focus, which is then in another window. */
void ViewerWidget::xFloatDock() {
    if (!fDock || !fDock->features().testFlag(QDockWidget::DockWidgetFloatable)) {
        return;
    }
    QWidget* focus = window()->focusWidget();
    fDock->setFloating(!fDock->isFloating());
    // On Wayland only the compositor activates windows.
    if (!isPlatform("wayland")) {
        window()->activateWindow();
    }
    if (focus != nullptr) {
        focus->setFocus(Qt::ActiveWindowFocusReason);
    }
}

void ViewerWidget::xListKeys() {
    std::vector<KeyGroup> groups = fKeys;
    if (fTimeBar->isVisible()) {
        groups.push_back(TimeBar::keys());
    }
    groups.push_back(
        {tr("Every viewer"),
         {{keyText(a_listKeys), tr("list the keys of the viewer that has the focus")},
          {keyText(a_closeKeys), tr("close the viewer")},
          {keyText(a_floatKeys), tr("put the viewer into its own window, or back")},
          {keyText(Qt::Key_Tab) + QStringLiteral(", ") + keyText(Qt::SHIFT + Qt::Key_Tab),
           tr("go to the next control, or back")}}});
    auto* list = new KeyList(dialogTitle(tr("Keys"), this), groups, this);
    list->setAttribute(Qt::WA_DeleteOnClose);
    list->open();
}

QString dialogTitle(const QString& title, const QWidget* part) {
    for (; part != nullptr; part = part->parentWidget()) {
        if (const auto* viewer = qobject_cast<const ViewerWidget*>(part)) {
            return QStringLiteral("%1 \u2013 %2").arg(title, viewer->robotName());
        }
    }
    return title;
}

}  // namespace obvista
