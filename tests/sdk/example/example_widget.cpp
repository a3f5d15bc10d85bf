#include "example_widget.h"

#include "robot_link.h"

#include <QEvent>
#include <QLoggingCategory>

#include <utility>

namespace {

// Silent, unless it is asked for: QT_LOGGING_RULES="obvista.example.info=true"
Q_LOGGING_CATEGORY(exampleLog, "obvista.example", QtWarningMsg)

}  // namespace

ExampleWidget::ExampleWidget(std::unique_ptr<RobotLink> link, WidgetInterface* plugin,
                             QWidget* parent)
    : QLabel(parent), fLink(std::move(link)), fPlugin(plugin) {
    // Robots choose their names themselves; what comes from the network is no markup.
    setTextFormat(Qt::PlainText);
    setAlignment(Qt::AlignCenter);
    setMinimumSize(320, 120);
    setText(tr("%1: connected").arg(fLink->robotName()));

    // The link speaks on threads of its own. Queued, so that nothing is reported before the host
    // has connected to disconnected().
    connect(fLink.get(), &RobotLink::batteryChanged, this, &ExampleWidget::xOnBatteryChanged,
            Qt::QueuedConnection);
    connect(fLink.get(), &RobotLink::lost, this, &ExampleWidget::xOnLost, Qt::QueuedConnection);
    fLink->start();
}

ExampleWidget::~ExampleWidget() = default;

void ExampleWidget::changeEvent(QEvent* event) {
    if (event->type() == QEvent::ParentChange && parent() != nullptr) {
        parent()->installEventFilter(this);
    }
    QLabel::changeEvent(event);
}

/** The dock is closed: its widget has nothing to report any more, even if the plugin lives on. */
bool ExampleWidget::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parent() && event->type() == QEvent::Close) {
        fLink->close();
    }
    return QLabel::eventFilter(watched, event);
}

void ExampleWidget::xOnBatteryChanged(double percent) {
    setText(tr("%1: battery %2 %").arg(fLink->robotName()).arg(percent, 0, 'f', 1));
    qCInfo(exampleLog).noquote() << text();
}

void ExampleWidget::xOnLost() {
    if (!fLink->isOpen()) {
        return;  // closed after the notice was queued
    }
    qCInfo(exampleLog).noquote() << fLink->robotName() << "is lost";
    Q_EMIT disconnected(fPlugin);  // the host may delete the plugin now
}
