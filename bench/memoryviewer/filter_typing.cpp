#include "filter_typing.h"

#include "bench/figures.h"
#include "host_window.h"

#include <QAbstractItemModel>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QTimer>
#include <QTreeView>
#include <QWindow>

#include <algorithm>
#include <cstdio>

namespace bench {

namespace {

/** Text to type: it matches fewer keys, and other ones, with each letter. */
const QString a_text = QStringLiteral("unit007/drive3");
constexpr std::size_t a_rounds = 3;
/** Milliseconds between keys of a fast typist. */
constexpr int a_betweenKeys = 90;
constexpr double a_nanosecondsInMillisecond = 1e6;

void press(QWidget& target, int key, const QString& text) {
    for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, key, Qt::NoModifier, text);
        QCoreApplication::sendEvent(&target, &event);
    }
}

/** Types the text forward and deletes it again. */
void typeNext(QLineEdit& line, std::size_t typed) {
    const auto length = static_cast<std::size_t>(a_text.size());
    const std::size_t place = typed % (2 * length);
    if (place < length) {
        press(line, Qt::Key_unknown, a_text.mid(static_cast<int>(place), 1));
    } else {
        press(line, Qt::Key_Backspace, {});
    }
}

std::size_t keysToType() {
    return a_rounds * 2 * static_cast<std::size_t>(a_text.size());
}

/** Types into a line edit that is painted at once. */
double floorOfTyping() {
    QLineEdit line;
    line.show();
    while (!line.windowHandle()->isExposed()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    std::vector<double> times;
    for (std::size_t typed = 0; typed < keysToType(); ++typed) {
        QElapsedTimer time;
        time.start();
        typeNext(line, typed);
        line.repaint();
        times.push_back(static_cast<double>(time.nsecsElapsed()) / a_nanosecondsInMillisecond);
    }
    return median(times);
}

}  // namespace

FilterTyping::FilterTyping(QLineEdit* filter, QTreeView* view)
    : fFilter(filter), fPainted(view->viewport()) {
    fPainted->installEventFilter(this);
    connect(view->model(), &QAbstractItemModel::layoutChanged, this,
            [this] { fIsArranged = fSinceKey.isValid(); });
}

void FilterTyping::start() {
    fFilter->clear();
    QTimer::singleShot(a_settling, this, [this] { xType(); });
}

void FilterTyping::xType() {
    fIsArranged = false;
    fSinceKey.start();
    typeNext(*fFilter, fTyped++);
}

bool FilterTyping::eventFilter(QObject* /*watched*/, QEvent* event) {
    if (event->type() == QEvent::Paint && fIsArranged) {
        fIsArranged = false;
        // Queued, to run after the painting that begins now.
        QMetaObject::invokeMethod(
            this, [this] { xOnPainted(); }, Qt::QueuedConnection);
    }
    return false;
}

void FilterTyping::xOnPainted() {
    fTimes.push_back(static_cast<double>(fSinceKey.nsecsElapsed()) / a_nanosecondsInMillisecond);
    fSinceKey.invalidate();
    if (fTyped == keysToType()) {
        xTell();
    } else {
        QTimer::singleShot(a_betweenKeys, Qt::PreciseTimer, this, [this] { xType(); });
    }
}

void FilterTyping::xTell() {
    std::printf("typed %.1f %.1f %.2f\n", median(fTimes),
                *std::max_element(fTimes.begin(), fTimes.end()), floorOfTyping());
    std::fflush(stdout);
}

}  // namespace bench
