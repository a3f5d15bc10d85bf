#include "robot_header.h"

#include <obvista/viewer/labels.h>

#include <QAction>
#include <QEvent>
#include <QFontInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QToolButton>

namespace obvista {

namespace {

constexpr double a_nameScale = 1.35;

}  // namespace

RobotHeader::RobotHeader(QWidget* parent)
    : QWidget(parent),
      fName(makeStatusLine("robotName", this)),
      fAddress(makeLabel("robotAddress", this)),
      fReconnect(new QAction(tr("Reconnect when the robot returns"), this)) {
    fReconnect->setObjectName(QStringLiteral("reconnectAction"));
    fReconnect->setCheckable(true);
    auto* row = new QHBoxLayout(this);
    const int space = fontMetrics().height() / 4;
    row->setContentsMargins(space, 0, 2 * space, 0);
    row->addWidget(fName, 1);
    row->addWidget(fAddress);
    xApplyFont();
}

void RobotHeader::setRobot(const QString& name, const QString& address) {
    fName->setText(name);
    //: name and address, for screen readers
    fName->setAccessibleName(tr("Robot %1, %2").arg(name, address));
    explain(*fName, tr("Robot %1, %2").arg(name, address));
    fAddress->setText(address);
    xFit();
}

QToolButton* RobotHeader::xMakeButton(const char* name, const QString& text,
                                      const QString& explanation) {
    auto* button = new QToolButton(this);
    button->setObjectName(QLatin1String(name));
    button->setText(text);
    explain(*button, explanation);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    layout()->addWidget(button);
    return button;
}

void RobotHeader::addButtons() {
    fConnection = xMakeButton("connectionButton", tr("Connection"),
                              tr("Settings of the connection to the robot"));
    auto* menu = new QMenu(fConnection);
    menu->addAction(fReconnect);
    connect(menu, &QMenu::aboutToShow, this, &RobotHeader::menuOpening);
    fConnection->setMenu(menu);
    fConnection->setPopupMode(QToolButton::InstantPopup);
    //: on a button: put a viewer that has its own window back into the main window
    fDock = xMakeButton("dockButton", tr("Dock"), tr("Put the viewer back into the main window"));
    connect(fDock, &QToolButton::clicked, this, &RobotHeader::dockWanted);
    showDockButton(false);
}

void RobotHeader::showDockButton(bool isShown) {
    if (fDock != nullptr) {
        fDock->setVisible(isShown);
        xFit();
    }
}

/** Without the address, which is hidden where it does not fit. */
QSize RobotHeader::minimumSizeHint() const {
    QSize size = QWidget::minimumSizeHint();
    if (fAddress->isVisibleTo(this)) {
        size.rwidth() -= fAddress->minimumSizeHint().width() + layout()->spacing();
    }
    return size;
}

void RobotHeader::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    xFit();
}

void RobotHeader::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        xApplyFont();
    }
}

void RobotHeader::xApplyFont() {
    QFont large = font();
    large.setBold(true);
    large.setPointSizeF(a_nameScale * QFontInfo(font()).pointSizeF());
    fName->setFont(large);
    xFit();
}

/** Hides the address if the name needs its space. */
void RobotHeader::xFit() {
    const QMargins margins = layout()->contentsMargins();
    const int name = fName->fontMetrics().horizontalAdvance(fName->text()) + 2 * fName->margin();
    int needed = margins.left() + name + layout()->spacing() + fAddress->sizeHint().width() +
                 margins.right();
    for (const QToolButton* button : {fConnection, fDock}) {
        if (button != nullptr && !button->isHidden()) {
            needed += layout()->spacing() + button->sizeHint().width();
        }
    }
    fAddress->setVisible(needed <= width());
}

}  // namespace obvista
