#ifndef OBVISTA_TESTS_SUPPORT_QT_TEST_MAIN_H
#define OBVISTA_TESTS_SUPPORT_QT_TEST_MAIN_H

#include "qt_patience.h"

#include <QApplication>
#include <QObject>

namespace obvista_test {

/**
 * Runs a QtTest object like QTest::qExec. The run fails if Qt or the code under test wrote a
 * warning, or worse, that the test did not announce with QTest::ignoreMessage. Messages of Qt's
 * platform plugins that are unrelated to the code are ignored.
 *
 * @return 0 if every test function passed and there was no unexpected message.
 */
int runQtTest(QObject* test, const QStringList& arguments);

/** Sets the organisation and application names under which Obvista keeps its settings. */
void setApplicationIdentity();

}  // namespace obvista_test

/** Defines main() of a test program with widgets. */
#define OBVISTA_QTEST_MAIN(TestClass)                                         \
    int main(int argc, char** argv) {                                         \
        QApplication application(argc, argv);                                 \
        obvista_test::setApplicationIdentity();                               \
        TestClass test;                                                       \
        return obvista_test::runQtTest(&test, QCoreApplication::arguments()); \
    }

#endif
