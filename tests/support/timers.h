#ifndef OBVISTA_TESTS_SUPPORT_TIMERS_H
#define OBVISTA_TESTS_SUPPORT_TIMERS_H

#include <QCoreApplication>
#include <QTimer>
#include <QTimerEvent>

namespace obvista_test {

/** Lets a running timer expire now, so that a test need not wait for its interval. */
inline void expire(QTimer& timer) {
    QTimerEvent event(timer.timerId());
    QCoreApplication::sendEvent(&timer, &event);
}

}  // namespace obvista_test

#endif
