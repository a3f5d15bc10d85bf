#include "http/http_transfer.h"

#include "http/curl_entry.h"

#include <QCoreApplication>
#include <QFile>

#include <dlfcn.h>
#include <utility>

namespace {

/** The library's function, or the reason why there is none. */
struct Entry {
    decltype(&obvistaStartTransfer) fStart = nullptr;
    QString fError;
};

Entry loadEntry() {
    // By its path: the sanitizers' dlopen() does not search the program's run path. Never closed,
    // since libcurl may have started threads.
    const QString file = QCoreApplication::applicationDirPath() + QLatin1String(OBVISTA_HTTP_FILE);
    void* const library =
        ::dlopen(QFile::encodeName(file).constData(), RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE);
    if (library == nullptr) {
        return {nullptr, QString::fromLocal8Bit(::dlerror())};
    }
    void* const symbol = ::dlsym(library, "obvistaStartTransfer");
    if (symbol == nullptr) {
        return {nullptr, QString::fromLocal8Bit(::dlerror())};
    }
    return {reinterpret_cast<decltype(&obvistaStartTransfer)>(symbol), QString()};
}

}  // namespace

std::unique_ptr<HttpTransfer> HttpTransfer::start(const QString& host, quint16 port,
                                                  const QString& path,
                                                  std::chrono::milliseconds timeOut,
                                                  std::function<void()> onProgress,
                                                  QString* error) {
    static const Entry entry = loadEntry();
    if (entry.fStart == nullptr) {
        *error = entry.fError;
        return nullptr;
    }
    return std::unique_ptr<HttpTransfer>(
        entry.fStart(host, port, path, timeOut, std::move(onProgress)));
}
