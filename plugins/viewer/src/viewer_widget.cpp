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

#include <QDockWidget>
#include <QEvent>
#include <QFocusEvent>
#include <QLabel>
#include <QShortcut>
#include <QVBoxLayout>

#include <utility>

namespace obvista {

namespace {

constexpr int a_maxRobotNameLength = 60;
/** Period in milliseconds of checking visibility and silence, of which no event tells. */
constexpr int a_seenTime = 200;
constexpr Qt::Key a_listKeys = Qt::Key_F1;
const QKeySequence a_closeKeys(Qt::CTRL + Qt::Key_W);
const QKeySequence a_floatKeys(Qt::CTRL + Qt::SHIFT + Qt::Key_F);

}  // namespace

ViewerWidget::ViewerWidget(std::shared_ptr<RobotLink> link, WidgetInterface* plugin,
                           QWidget* parent)
    : QWidget(parent),
      fLink(std::move(link)),
      fPlugin(plugin),
      fHeader(new RobotHeader(robotName(), robotAddress(), this)),
      fBanner(makeBanner("viewerBanner", this)),
      fTimeBar(new TimeBar(this)) {
    fBanner->hide();
    fTimeBar->hide();
    connect(fTimeBar, &TimeBar::wanted, this,
            [this](const std::string& method, const KVValue::List& arguments) {
                if (ReplayClient* replay = fLink->replay()) {
                    replay->call(method, arguments);
                }
            });
    connect(&fSeenTimer, &QTimer::timeout, this, &ViewerWidget::xUpdateSeen);
    connect(&fSeenTimer, &QTimer::timeout, this, &ViewerWidget::xUpdateSilence);
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
}

void ViewerWidget::setReplayCamera(const std::string& camera) {
    fTimeBar->setCamera(camera);
}

void ViewerWidget::setBanner(const QString& sentence) {
    fSentence = sentence;
    xShowBanner();
}

void ViewerWidget::xShowBanner() {
    const QString& shown = fSilence.isEmpty() ? fSentence : fSilence;
    fBanner->setText(shown);
    fBanner->setVisible(!shown.isEmpty());
}

void ViewerWidget::xUpdateSilence() {
    const double silence = fLinkState == LinkState::Connected ? fLink->silence() : 0;
    //: %1 is the number of seconds since the robot was last heard.
    const QString text = tr("No answer for %1 s");
    const QString sentence = silence > 0 ? text.arg(static_cast<int>(silence)) : QString();
    if (sentence != fSilence) {
        fSilence = sentence;
        xShowBanner();
    }
}

void ViewerWidget::xOnNotice() {
    fLink->notice().clear();
    if (fLinkState != LinkState::Connected) {
        return;
    }
    if (fLink->isClosed()) {
        xEnd(LinkState::Closed);
    } else if (fLink->isLost()) {
        xEnd(LinkState::Lost);
        xReportLoss();
    } else {
        xShowReplay();
        Q_EMIT newsArrived();
    }
}

void ViewerWidget::xShowReplay() {
    ReplayState state = fLink->replay()->state();
    if (state.isReplay() && state != fReplayState) {
        fReplayState = std::move(state);
        fTimeBar->showState(fReplayState);
        fTimeBar->show();
        Q_EMIT replayChanged();
    }
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
    }
    fDock = qobject_cast<QDockWidget*>(parentWidget());
    if (fDock) {
        fDock->installEventFilter(this);
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
    window()->activateWindow();
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
