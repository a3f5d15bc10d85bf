#include "host_window.h"

#include <QAbstractItemView>
#include <QGuiApplication>
#include <QMainWindow>
#include <QScreen>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <utility>

namespace bench {

namespace {

constexpr int a_lookEvery = 5;  // milliseconds
constexpr double a_nanosecondsInMillisecond = 1e6;
constexpr double a_millisecondsInSecond = 1e3;

/** Of this thread, in milliseconds. */
double processorTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * a_millisecondsInSecond +
           static_cast<double>(time.tv_nsec) / a_nanosecondsInMillisecond;
}

}  // namespace

void fillScreen(QMainWindow& window) {
    window.setWindowFlag(Qt::FramelessWindowHint);
    window.setGeometry(QGuiApplication::primaryScreen()->geometry());
    window.show();
}

void tellWhereShown(const QAbstractItemView& view, const QModelIndex& cell) {
    const QRect rect = view.visualRect(cell);
    const QPoint at = view.viewport()->mapToGlobal(rect.topLeft());
    std::printf("cell %d %d %d %d\n", at.x(), at.y(), rect.width(), rect.height());
    std::fflush(stdout);
}

LoopWatch::LoopWatch(const char* name) : fName(name) {
    fTimer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&fTimer, &QTimer::timeout, [this] { xLook(); });
    fSinceLook.start();
    fProcessorTime = processorTime();
    fTimer.start(a_lookEvery);
}

void LoopWatch::xLook() {
    const double hold =
        static_cast<double>(fSinceLook.nsecsElapsed()) / a_nanosecondsInMillisecond - a_lookEvery;
    fSinceLook.restart();
    const double now = processorTime();
    const double run = now - std::exchange(fProcessorTime, now);
    if (hold > fLongestHold || run > fLongestRun) {
        fLongestHold = std::max(fLongestHold, hold);
        fLongestRun = std::max(fLongestRun, run);
        std::printf("%s %.1f %.1f\n", fName, fLongestHold, fLongestRun);
        std::fflush(stdout);
    }
}

}  // namespace bench
