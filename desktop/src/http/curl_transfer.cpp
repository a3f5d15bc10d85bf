#include "http/curl_transfer.h"

#include "http/curl_entry.h"

#include <QUrl>

namespace {

// libcurl must be initialised before its first use by any thread. TLS is not needed for plain HTTP.
void initialiseCurl() {
    static const CURLcode once = curl_global_init(CURL_GLOBAL_NOTHING);
    Q_UNUSED(once)
}

CURLM* createMulti() {
    initialiseCurl();
    CURLM* multi = curl_multi_init();
    Q_CHECK_PTR(multi);
    return multi;
}

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
    : fMulti(createMulti()),
      fOnProgress(std::move(onProgress)),
      fUrl(curl_url()),
      fEasy(curl_easy_init()) {
    Q_CHECK_PTR(fUrl.get());
    Q_CHECK_PTR(fEasy.get());
    fTimer.setSingleShot(true);
    // A coarse timer may fire early, and libcurl would then request it again.
    fTimer.setTimerType(Qt::PreciseTimer);
    connect(&fTimer, &QTimer::timeout, this, [this] { xAct(CURL_SOCKET_TIMEOUT, 0); });
    xSetEventLoop();
    xSetUrl(host, port, path);
    xSetOptions(timeOut);
    curl_multi_add_handle(fMulti, fEasy.get());
}

CurlTransfer::~CurlTransfer() {
    // While the notifiers and the timer exist, which libcurl changes here.
    curl_multi_remove_handle(fMulti, fEasy.get());
    fEasy.reset();
    curl_multi_cleanup(fMulti);
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
        return fHeaderComplete ? QString() : tr("The response ended within its header");
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
    int remaining = 0;
    while (const CURLMsg* message = curl_multi_info_read(fMulti, &remaining)) {
        if (message->msg == CURLMSG_DONE) {
            fHasEnded = true;
            fErrorText = xErrorText(message->data.result);
        }
    }
    const std::function<void()> onProgress = fOnProgress;  // outlives the transfer
    onProgress();
}

void CurlTransfer::xSetEventLoop() {
    curl_multi_setopt(fMulti, CURLMOPT_SOCKETFUNCTION, &CurlTransfer::xOnSocketWanted);
    curl_multi_setopt(fMulti, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(fMulti, CURLMOPT_TIMERFUNCTION, &CurlTransfer::xOnTimerWanted);
    curl_multi_setopt(fMulti, CURLMOPT_TIMERDATA, this);
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

int CurlTransfer::xOnSocketWanted(CURL*, curl_socket_t socket, int what, void* self, void*) {
    auto* transfer = static_cast<CurlTransfer*>(self);
    const int events = what == CURL_POLL_REMOVE ? CURL_POLL_NONE : what;
    transfer->xWatch(socket, QSocketNotifier::Read, (events & CURL_POLL_IN) != 0);
    transfer->xWatch(socket, QSocketNotifier::Write, (events & CURL_POLL_OUT) != 0);
    return 0;
}

int CurlTransfer::xOnTimerWanted(CURLM*, long milliseconds, void* self) {
    QTimer& timer = static_cast<CurlTransfer*>(self)->fTimer;
    if (milliseconds < 0) {
        timer.stop();
    } else {
        timer.start(std::chrono::milliseconds(milliseconds));
    }
    return 0;
}

void CurlTransfer::xWatch(curl_socket_t socket, QSocketNotifier::Type type, bool wanted) {
    const auto key = std::make_pair(socket, type);
    const auto found = fNotifiers.find(key);
    if (wanted == (found != fNotifiers.end())) {
        return;
    }
    if (wanted) {
        fNotifiers.emplace(key, xCreateNotifier(socket, type));
        return;
    }
    // Disabled at once, since the descriptor is closed when this returns; deleted later, since this
    // may be called from the notifier's signal.
    found->second->setEnabled(false);
    found->second->deleteLater();
    fNotifiers.erase(found);
}

QSocketNotifier* CurlTransfer::xCreateNotifier(curl_socket_t socket, QSocketNotifier::Type type) {
    auto* notifier = new QSocketNotifier(socket, type, this);
    const int action = type == QSocketNotifier::Read ? CURL_CSELECT_IN : CURL_CSELECT_OUT;
    connect(notifier, &QSocketNotifier::activated, this,
            [this, socket, action] { xAct(socket, action); });
    return notifier;
}

void CurlTransfer::xAct(curl_socket_t socket, int action) {
    int running = 0;
    curl_multi_socket_action(fMulti, socket, action, &running);
    // Queued, since the user may delete the transfer, and with it the timer or the notifier whose
    // signal is being emitted.
    QMetaObject::invokeMethod(this, &CurlTransfer::xOnProgress, Qt::QueuedConnection);
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
        fRefusal = tr("The header of the response is too long");
        return false;
    }
    // libcurl decodes a compressed transfer coding by itself, and a few bytes could become many.
    const QByteArray field = line.trimmed().toLower();
    if (field.startsWith("transfer-encoding:") && field.mid(18).trimmed() != "chunked") {
        fRefusal = tr("The response has a transfer coding that was not requested");
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
