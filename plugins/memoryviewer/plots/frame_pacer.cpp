#include "plots/frame_pacer.h"

#include <obvista/viewer/widget_seen.h>

#include <QEvent>
#include <QWidget>

#include <algorithm>

namespace memoryviewer {

namespace {

constexpr int a_dataFrameTime = 40;
/** For interaction, where more frames are noticeable. */
constexpr int a_handFrameTime = 16;
constexpr int a_idleTime = 250;

}  // namespace

FramePacer::FramePacer(QWidget* widget) : QObject(widget), fWidget(widget) {
    fFrameTimer.setSingleShot(true);
    fFrameTimer.setTimerType(Qt::PreciseTimer);
    connect(&fFrameTimer, &QTimer::timeout, this, &FramePacer::xOnFrame);
    connect(&fIdleTimer, &QTimer::timeout, this, &FramePacer::xOnIdle);
    fSinceFrame.start();
    widget->installEventFilter(this);
}

bool FramePacer::canBeSeen() const {
    return obvista::isSeen(*fWidget);
}

void FramePacer::schedule(Pace pace) {
    fIsStale = true;
    if (!canBeSeen()) {
        return;
    }
    const int frame = pace == Pace::Hand ? a_handFrameTime : a_dataFrameTime;
    const int rest =
        std::max(0, frame - static_cast<int>(std::min<qint64>(fSinceFrame.elapsed(), frame)));
    if (!fFrameTimer.isActive() || fFrameTimer.remainingTime() > rest) {
        fFrameTimer.start(rest);
    }
}

void FramePacer::xOnFrame() {
    if (!canBeSeen()) {
        return;
    }
    fSinceFrame.start();
    Q_EMIT frameDue();
    fFrameTimer.stop();
    fIsStale = false;
}

/** Also detects that the widget is visible again, which no event reports for a minimised window. */
void FramePacer::xOnIdle() {
    if (!canBeSeen()) {
        return;
    }
    Q_EMIT idle();
    if (fIsStale) {
        schedule(Pace::Data);
    }
}

bool FramePacer::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Show) {
        fIdleTimer.start(a_idleTime);
        fIsStale = true;
    } else if (event->type() == QEvent::Hide) {
        fIdleTimer.stop();
        fFrameTimer.stop();
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace memoryviewer
