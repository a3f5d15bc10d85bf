#include "program.h"

#include "installation.h"

#include <QTest>

namespace obvista_test {

Program::Program(const Installation& installation, const QStringList& arguments,
                 const QStringList& unset) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    // The copied program's run path refers to the installation, which has no libraries.
    environment.insert(
        QStringLiteral("LD_LIBRARY_PATH"),
        environment.value(QStringLiteral("OBVISTA_BUILD_DIR")) + QStringLiteral("/lib"));
    environment.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"),
                       QStringLiteral("unix:path=/nonexistent"));
    for (const QString& name : unset) {
        environment.remove(name);
    }
    fProcess.setProcessEnvironment(environment);
    fProcess.start(installation.addProgram(), arguments);
    if (!fProcess.waitForStarted()) {
        qFatal("cannot start the program: %s", qPrintable(fProcess.errorString()));
    }
}

Program::~Program() {
    if (fProcess.state() != QProcess::NotRunning) {
        fProcess.kill();
        fProcess.waitForFinished();
    }
}

bool Program::finish() {
    // The event loop runs, so that a test may use the program's windows.
    return QTest::qWaitFor([this] { return !isRunning(); }, 60000) &&
           fProcess.exitStatus() == QProcess::NormalExit;
}

QString Program::standardOutput() {
    return QString::fromUtf8(fProcess.readAllStandardOutput());
}

QString Program::standardError() {
    return QString::fromUtf8(fProcess.readAllStandardError());
}

}  // namespace obvista_test
