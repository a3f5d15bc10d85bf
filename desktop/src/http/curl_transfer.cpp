#include "http/curl_transfer.h"

#include "http/curl_entry.h"

#include <QUrl>

namespace {

QByteArray urlHost(const QString& host) {
    return host.contains(QLatin1Char(':')) ? '[' + host.toLatin1() + ']' : QUrl::toAce(host);
}

QByteArray urlPath(const QString& path) {
    const QByteArray encoded = QUrl::toPercentEncoding(path, "/:@!$&'()*+,;=");
    return encoded.startsWith('/') ? encoded : '/' + encoded;
}

}  // namespace

CurlTransfer::CurlTransfer(const QString& host, quint16 port, const QString& path,
                           std::chrono::milliseconds timeOut, std::function<void()> onProgress)
    : fMulti(nullptr),
      fOnProgress(std::move(onProgress)),
      fUrl(curl_url()),
      fEasy(curl_easy_init()) {
    Q_CHECK_PTR(fUrl.get());
    Q_CHECK_PTR(fEasy.get());
    xSetUrl(host, port, path);
    xSetOptions(timeOut);
    // Queued, since the user may delete the transfer, and with it the timer or the notifier whose
    // signal is being emitted.
    connect(&fMulti, &CurlMulti::progressed, this, &CurlTransfer::xOnProgress,
            Qt::QueuedConnection);
    fMulti.add(fEasy.get());
}

CurlTransfer::~CurlTransfer() {
    fMulti.remove(fEasy.get());
}

std::optional<QHttpResponseHeader> CurlTransfer::takeHeader() {
    if (!fHeaderComplete || fHeaderTaken) {
        return std::nullopt;
    }
    fHeaderTaken = true;
    curl_off_t contentLength = -1;
    curl_easy_getinfo(fEasy.get(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &contentLength);
    return QHttpResponseHeader(xStatusCode(), contentLength);
}

QByteArray CurlTransfer::takeBody() {
    return std::exchange(fBody, QByteArray());
}

QString CurlTransfer::xErrorText(CURLcode result) const {
    if (result == CURLE_OK) {
        // libcurl treats a connection closed within the header as the end of the response.
        return fHeaderComplete ? QString() : tr("The answer ended within its header");
    }
    if (!fRefusal.isEmpty()) {
        return fRefusal;
    }
    const bool described = fErrorBuffer.front() != '\0';
    return QString::fromUtf8(described ? fErrorBuffer.data() : curl_easy_strerror(result));
}

void CurlTransfer::xOnProgress() {
    if (fHasEnded) {
        return;
    }
    if (const auto result = fMulti.takeResult()) {
        fHasEnded = true;
        fErrorText = xErrorText(*result);
    }
    const std::function<void()> onProgress = fOnProgress;  // outlives the transfer
    onProgress();
}

void CurlTransfer::xSetUrl(const QString& host, quint16 port, const QString& path) {
    // Each part is set separately, so that none can change another one. If one is refused, the URL
    // stays incomplete and the transfer ends with an error.
    curl_url_set(fUrl.get(), CURLUPART_SCHEME, "http", 0);
    curl_url_set(fUrl.get(), CURLUPART_HOST, urlHost(host).constData(), 0);
    curl_url_set(fUrl.get(), CURLUPART_PORT, QByteArray::number(port).constData(), 0);
    curl_url_set(fUrl.get(), CURLUPART_PATH, urlPath(path).constData(), 0);
}

void CurlTransfer::xSetOptions(std::chrono::milliseconds timeOut) {
    CURL* easy = fEasy.get();
    curl_easy_setopt(easy, CURLOPT_CURLU, fUrl.get());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http");
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_1_1});
    curl_easy_setopt(easy, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
    // An empty proxy also disables those from the environment.
    curl_easy_setopt(easy, CURLOPT_PROXY, "");
    // Signals affect the whole process, and other threads are running.
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    // The connection is closed after the request: there may not be another one.
    curl_easy_setopt(easy, CURLOPT_FRESH_CONNECT, 1L);
    curl_easy_setopt(easy, CURLOPT_FORBID_REUSE, 1L);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, static_cast<long>(timeOut.count()));
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, fErrorBuffer.data());
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &CurlTransfer::xOnHeaderLine);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &CurlTransfer::xOnBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
}

std::size_t CurlTransfer::xOnHeaderLine(char* data, std::size_t size, std::size_t count,
                                        void* self) {
    const std::size_t bytes = size * count;
    const QByteArray line = QByteArray::fromRawData(data, static_cast<int>(bytes));
    const bool accepted = static_cast<CurlTransfer*>(self)->xAcceptHeaderLine(line);
    return accepted ? bytes : 0;
}

std::size_t CurlTransfer::xOnBody(char* data, std::size_t size, std::size_t count, void* self) {
    const std::size_t bytes = size * count;
    static_cast<CurlTransfer*>(self)->fBody.append(data, static_cast<int>(bytes));
    return bytes;
}

bool CurlTransfer::xAcceptHeaderLine(const QByteArray& line) {
    fHeaderSize += static_cast<std::size_t>(line.size());
    if (fHeaderSize > a_maximumHeaderSize) {
        fRefusal = tr("The header of the answer is too long");
        return false;
    }
    // libcurl decodes a compressed transfer coding by itself, and a few bytes could become many.
    const QByteArray field = line.trimmed().toLower();
    if (field.startsWith("transfer-encoding:") && field.mid(18).trimmed() != "chunked") {
        fRefusal = tr("The answer has a transfer coding that was not asked for");
        return false;
    }
    if (field.isEmpty() && xStatusCode() >= 200) {
        fHeaderComplete = true;
    }
    return true;
}

int CurlTransfer::xStatusCode() const {
    long statusCode = 0;
    curl_easy_getinfo(fEasy.get(), CURLINFO_RESPONSE_CODE, &statusCode);
    return static_cast<int>(statusCode);
}

HttpTransfer* obvistaStartTransfer(const QString& host, quint16 port, const QString& path,
                                   std::chrono::milliseconds timeOut,
                                   std::function<void()> onProgress) {
    return new CurlTransfer(host, port, path, timeOut, std::move(onProgress));
}
