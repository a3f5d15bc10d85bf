#include "quiet_thread.h"

#include <QString>

#include <atomic>

namespace KD {

namespace {

thread_local bool isQuiet = false;
std::atomic<QtMessageHandler> previousHandler{nullptr};

}  // namespace

QuietThread::QuietThread() : fLock(xMutex()) {
    isQuiet = true;
    // Another thread may report a message as soon as the handler is installed.
    previousHandler = qInstallMessageHandler(nullptr);
    qInstallMessageHandler(&QuietThread::xHandle);
}

QuietThread::~QuietThread() {
    qInstallMessageHandler(previousHandler);
    isQuiet = false;
}

std::mutex& QuietThread::xMutex() {
    static std::mutex mutex;
    return mutex;
}

void QuietThread::xHandle(QtMsgType type, const QMessageLogContext& context,
                          const QString& message) {
    if (!isQuiet) {
        previousHandler.load()(type, context, message);
    }
}

}  // namespace KD
