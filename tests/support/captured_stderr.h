#ifndef OBVISTA_TESTS_SUPPORT_CAPTURED_STDERR_H
#define OBVISTA_TESTS_SUPPORT_CAPTURED_STDERR_H

#include <QString>
#include <QTemporaryFile>

namespace obvista_test {

/** Takes what is written to standard error, file descriptor 2, while it lives. */
class CapturedStderr {
  public:
    CapturedStderr();
    /** Gives standard error back. */
    ~CapturedStderr();
    CapturedStderr(const CapturedStderr&) = delete;
    CapturedStderr& operator=(const CapturedStderr&) = delete;

    /** What was written since the last call. */
    QString take();

  private:
    QTemporaryFile fFile;
    int fOriginal;
    qint64 fTaken = 0;
};

}  // namespace obvista_test

#endif
