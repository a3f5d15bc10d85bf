#ifndef OBVISTA_TESTS_HOST_PROGRAM_H
#define OBVISTA_TESTS_HOST_PROGRAM_H

#include <QProcess>
#include <QString>
#include <QStringList>

namespace obvista_test {

class Installation;

/**
 * The real program, run from a private installation. Ended with the object at the latest.
 *
 * There is no system bus for it, so that no test sees what is announced on somebody's network:
 * discovery cannot run, and the program says so when its window is shown.
 */
class Program {
  public:
    /** @param unset variables of the environment that the program does not get */
    Program(const Installation& installation, const QStringList& arguments,
            const QStringList& unset = {});
    ~Program();

    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    qint64 pid() const { return fProcess.processId(); }
    bool isRunning() const { return fProcess.state() == QProcess::Running; }

    /** Waits for the program's own end. False when it had to be killed, or crashed. */
    bool finish();

    int status() const { return fProcess.exitCode(); }
    QString standardOutput();
    QString standardError();

  private:
    QProcess fProcess;
};

}  // namespace obvista_test

#endif
