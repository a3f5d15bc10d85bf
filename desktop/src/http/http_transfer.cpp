#include "http/http_transfer.h"

#include "http/curl_entry.h"

#include <base/library.h>

#include <QCoreApplication>
#include <QFile>

#include <utility>

std::unique_ptr<HttpTransfer> HttpTransfer::start(const QString& host, quint16 port,
                                                  const QString& path,
                                                  std::chrono::milliseconds timeOut,
                                                  std::function<void()> onProgress,
                                                  QString* error) {
    const QString file = QCoreApplication::applicationDirPath() + QLatin1String(OBVISTA_HTTP_FILE);
    try {
        const auto start = base::functionOfLibrary<decltype(obvistaStartTransfer)>(
            QFile::encodeName(file).toStdString(), "obvistaStartTransfer");
        return std::unique_ptr<HttpTransfer>(
            start(host, port, path, timeOut, std::move(onProgress)));
    } catch (const base::LibraryError& problem) {
        //: %1 is a file, %2 the system's reason
        *error = QCoreApplication::translate("HttpTransfer", "The library %1 cannot be loaded: %2")
                     .arg(file, QString::fromLocal8Bit(problem.what()));
        return nullptr;
    }
}
