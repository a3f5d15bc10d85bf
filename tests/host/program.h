#ifndef OBVISTA_TESTS_HOST_PROGRAM_H
#define OBVISTA_TESTS_HOST_PROGRAM_H

#include <QProcess>
#include <QString>
#include <QStringList>

namespace obvista_test {

class Installation;

/**
 * The real program, run from a private installation. It ends with the object at the latest.
 *
 * It has no system bus, so that announcements on the network do not affect a test: discovery cannot
 * run, and the program reports that when its window is shown.
 */
class Program {
  public:
    /** @param unset environment variables that are removed for the program */
    Program(const Installation& installation, const QStringList& arguments,
            const QStringList& unset = {});
    ~Program();

    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    qint64 pid() const { return fProcess.processId(); }
    bool isRunning() const { return fProcess.state() == QProcess::Running; }

    /** Waits until the program exits. Returns false if it had to be killed, or crashed. */
    bool finish();

    int status() const { return fProcess.exitCode(); }
    QString standardOutput();
    QString standardError();

  private:
    QProcess fProcess;
};

}  // namespace obvista_test

#endif
