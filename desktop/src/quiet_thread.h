#ifndef OBVISTA_DESKTOP_QUIET_THREAD_H
#define OBVISTA_DESKTOP_QUIET_THREAD_H

#include <QtGlobal>

#include <mutex>

namespace KD {

/**
 * Suppresses Qt's messages on this thread while the object exists; other threads are not affected.
 *
 * Qt's decoders report damaged bytes in the default category, which cannot be disabled separately.
 * Only one thread at a time; another one waits in the constructor.
 */
class QuietThread {
  public:
    QuietThread();
    ~QuietThread();
    QuietThread(const QuietThread&) = delete;
    QuietThread& operator=(const QuietThread&) = delete;

  private:
    static std::mutex& xMutex();
    static void xHandle(QtMsgType type, const QMessageLogContext& context, const QString& message);

    std::lock_guard<std::mutex> fLock;
};

}  // namespace KD

#endif
