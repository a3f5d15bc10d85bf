#include "host_window.h"

#include <QAbstractItemView>
#include <QGuiApplication>
#include <QMainWindow>
#include <QScreen>

#include <cstdio>

namespace bench {

namespace {

constexpr int a_lookEvery = 5;  // milliseconds
constexpr double a_nanosecondsInMillisecond = 1e6;

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
    fTimer.start(a_lookEvery);
}

void LoopWatch::xLook() {
    const double hold =
        static_cast<double>(fSinceLook.nsecsElapsed()) / a_nanosecondsInMillisecond - a_lookEvery;
    fSinceLook.restart();
    if (hold > fLongest) {
        fLongest = hold;
        std::printf("%s %.1f\n", fName, hold);
        std::fflush(stdout);
    }
}

}  // namespace bench
