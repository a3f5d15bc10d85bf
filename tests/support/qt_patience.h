#ifndef OBVISTA_TESTS_SUPPORT_QT_PATIENCE_H
#define OBVISTA_TESTS_SUPPORT_QT_PATIENCE_H

// Waits of Qt tests. QtTest gives up after 5 s, which is not enough for windows and other processes
// on a machine that runs several tests at once, some of them under a sanitizer.

#include <QElapsedTimer>
#include <QtTest>

#include <limits>
#include <utility>

namespace obvista_test {

/** In milliseconds. */
constexpr int a_qtPatience = 30000;

/** Handles events until the condition is true. Returns false if it is not in time. */
template <class Condition>
[[nodiscard]] bool waitFor(Condition condition) {
    return QTest::qWaitFor(std::move(condition), a_qtPatience);
}

/** Handles events until the condition is true. Returns the milliseconds that this took. */
template <class Condition>
[[nodiscard]] qint64 millisecondsUntil(Condition condition) {
    QElapsedTimer time;
    time.start();
    return waitFor(std::move(condition)) ? time.elapsed() : std::numeric_limits<qint64>::max();
}

[[nodiscard]] inline bool waitForActive(QWidget* window) {
    return QTest::qWaitForWindowActive(window, a_qtPatience);
}

[[nodiscard]] inline bool waitForExposed(QWidget* window) {
    return QTest::qWaitForWindowExposed(window, a_qtPatience);
}

}  // namespace obvista_test

#undef QTRY_VERIFY
#undef QTRY_VERIFY2
#undef QTRY_COMPARE
#define QTRY_VERIFY(expr) QTRY_VERIFY_WITH_TIMEOUT((expr), obvista_test::a_qtPatience)
#define QTRY_VERIFY2(expr, message) \
    QTRY_VERIFY2_WITH_TIMEOUT((expr), (message), obvista_test::a_qtPatience)
#define QTRY_COMPARE(expr, expected) \
    QTRY_COMPARE_WITH_TIMEOUT((expr), expected, obvista_test::a_qtPatience)

#endif
