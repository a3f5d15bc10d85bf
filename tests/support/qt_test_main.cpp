#include "qt_test_main.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTextStream>
#include <QtTest>

#include <cstdio>

namespace obvista_test {

namespace {

bool isUnexpectedMessage(const QString& line) {
    static const QRegularExpression message(
        QStringLiteral("^(QWARN|QCRITICAL|QSYSTEM|QFATAL|WARNING)\\s*: "));
    // The offscreen platform's standing remarks; and Qt asking the X server about a window
    // manager's frame that went with a window in the same moment.
    static const QRegularExpression platformNoise(
        QStringLiteral("This plugin does not support (propagateSizeHints|raise)\\(\\)"
                       "|XCB error: 3 \\(BadWindow\\).*\\(TranslateCoords\\)"));
    return message.match(line).hasMatch() && !platformNoise.match(line).hasMatch();
}

QStringList unexpectedMessages(const QString& logFile) {
    QFile log(logFile);
    if (!log.open(QIODevice::ReadOnly)) {
        return {QStringLiteral("the test wrote no log")};
    }
    QStringList messages;
    QTextStream stream(&log);
    QString line;
    while (stream.readLineInto(&line)) {
        if (isUnexpectedMessage(line)) {
            messages += line;
        }
    }
    return messages;
}

}  // namespace

int runQtTest(QObject* test, const QStringList& arguments) {
    // QtTest takes the message handler for itself while tests run, so what was written is read
    // from its own log, where announced messages no longer appear.
    QTemporaryDir folder;
    const QString logFile = folder.filePath(QStringLiteral("log.txt"));
    const int failures = QTest::qExec(
        test, arguments + QStringList{QStringLiteral("-maxwarnings"), QStringLiteral("0"),
                                      QStringLiteral("-o"), logFile + QStringLiteral(",txt"),
                                      QStringLiteral("-o"), QStringLiteral("-,txt")});
    const QStringList messages = unexpectedMessages(logFile);
    for (const QString& message : messages) {
        std::fprintf(stderr, "FAIL!  : unexpected message: %s\n", qPrintable(message));
    }
    return failures != 0 ? failures : static_cast<int>(!messages.isEmpty());
}

void setApplicationIdentity() {
    QCoreApplication::setOrganizationName(QStringLiteral("Quorvane Robotics"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("www.quorvane.com"));
    QCoreApplication::setApplicationName(QStringLiteral("Obvista Desktop"));
}

}  // namespace obvista_test
