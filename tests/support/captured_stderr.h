#ifndef OBVISTA_TESTS_SUPPORT_CAPTURED_STDERR_H
#define OBVISTA_TESTS_SUPPORT_CAPTURED_STDERR_H

#include <QString>
#include <QTemporaryFile>

namespace obvista_test {

/** Captures standard error, file descriptor 2, while it exists. */
class CapturedStderr {
  public:
    CapturedStderr();
    /** Restores standard error. */
    ~CapturedStderr();
    CapturedStderr(const CapturedStderr&) = delete;
    CapturedStderr& operator=(const CapturedStderr&) = delete;

    /** Returns the output since the last call. */
    QString take();

  private:
    QTemporaryFile fFile;
    int fOriginal;
    qint64 fTaken = 0;
};

}  // namespace obvista_test

#endif
