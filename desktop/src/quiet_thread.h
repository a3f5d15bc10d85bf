#ifndef OBVISTA_DESKTOP_QUIET_THREAD_H
#define OBVISTA_DESKTOP_QUIET_THREAD_H

#include <QtGlobal>

#include <mutex>

namespace KD {

/**
 * Drops what Qt would report on this thread while the object lives; other threads' messages pass.
 *
 * Qt's decoders report damaged bytes in the default category, which cannot be switched off alone.
 * One thread at a time; another one waits in the constructor.
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
