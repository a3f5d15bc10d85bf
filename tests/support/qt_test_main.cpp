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
    // Standard warnings of the offscreen platform; that OpenGL is switched off for Wayland; and an
    // error when Qt queries a window manager's frame that is destroyed at the same moment.
    static const QRegularExpression platformNoise(
        QStringLiteral("This plugin does not support (propagateSizeHints|raise)\\(\\)"
                       "|qt\\.qpa\\.wayland: EGL not available"
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
    // QtTest replaces the message handler while tests run, so messages are read from its log, which
    // omits announced ones.
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
