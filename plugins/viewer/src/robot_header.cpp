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

void RobotHeader::addButton() {
    fConnection = new QToolButton(this);
    auto* menu = new QMenu(fConnection);
    menu->addAction(fReconnect);
    connect(menu, &QMenu::aboutToShow, this, &RobotHeader::menuOpening);
    fConnection->setObjectName(QStringLiteral("connectionButton"));
    fConnection->setText(tr("Connection"));
    explain(*fConnection, tr("Settings of the connection to the robot"));
    fConnection->setMenu(menu);
    fConnection->setPopupMode(QToolButton::InstantPopup);
    fConnection->setAutoRaise(true);
    fConnection->setFocusPolicy(Qt::TabFocus);
    layout()->addWidget(fConnection);
    xFit();
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
    const int button = fConnection != nullptr ? fConnection->sizeHint().width() : 0;
    const int needed = margins.left() + name + 2 * layout()->spacing() +
                       fAddress->sizeHint().width() + button + margins.right();
    fAddress->setVisible(needed <= width());
}

}  // namespace obvista
