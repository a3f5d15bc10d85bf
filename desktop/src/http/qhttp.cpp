#include "http/qhttp.h"

#include "http/http_transfer.h"

#include <algorithm>
#include <limits>

namespace {

int clampedToInt(qint64 value) {
    return static_cast<int>(std::clamp<qint64>(value, 0, std::numeric_limits<int>::max()));
}

}  // namespace

QHttp::QHttp(QObject* parent) : QObject(parent), fErrorString(tr("Unknown error")) {
    fStartTimer.setSingleShot(true);
    connect(&fStartTimer, &QTimer::timeout, this, &QHttp::xStartNextRequest);
}

QHttp::~QHttp() = default;

int QHttp::setHost(const QString& hostName, quint16 port) {
    return xAddRequest({0, Request::Kind::SetHost, hostName, port, nullptr});
}

int QHttp::get(const QString& path, QIODevice* to) {
    return xAddRequest({0, Request::Kind::Get, path, 0, to});
}

int QHttp::currentId() const {
    return fRequests.isEmpty() ? 0 : fRequests.first().fId;
}

QString QHttp::errorString() const {
    return fErrorString;
}

void QHttp::setTransferTimeOut(std::chrono::milliseconds timeOut) {
    fTransferTimeOut = timeOut;
}

void QHttp::abort() {
    if (!fRequests.isEmpty()) {
        xFinishRequest(tr("Request aborted"));
    }
}

int QHttp::xAddRequest(Request request) {
    request.fId = ++fLastId;
    fRequests.append(request);
    if (!fTransfer) {
        fStartTimer.start(0);
    }
    return request.fId;
}

void QHttp::xStartNextRequest() {
    if (fRequests.isEmpty() || fTransfer) {
        return;
    }
    const Request request = fRequests.first();
    fErrorString = tr("Unknown error");
    if (request.fKind == Request::Kind::SetHost) {
        fHostName = request.fText;
        fPort = request.fPort;
        xFinishRequest(QString());
        return;
    }
    fBodySize = 0;
    fContentLength = 0;
    QString error;
    fTransfer = HttpTransfer::start(
        fHostName, fPort, request.fText, fTransferTimeOut, [this] { xOnTransferProgressed(); },
        &error);
    if (!fTransfer) {
        xFinishRequest(error);
    }
}

// A slot connected to any of the signals may abort the request or delete this object.
void QHttp::xOnTransferProgressed() {
    if (!fTransfer) {
        return;
    }
    const QPointer<QHttp> self(this);
    const int id = currentId();
    if (const auto header = fTransfer->takeHeader()) {
        fContentLength = header->contentLength();
        Q_EMIT responseHeaderReceived(*header);
        if (!self || !xIsRunning(id)) {
            return;
        }
    }
    const QByteArray body = fTransfer->takeBody();
    if (!body.isEmpty()) {
        if (!xStoreBody(body)) {
            return;
        }
        Q_EMIT dataReadProgress(clampedToInt(fBodySize), clampedToInt(fContentLength));
        if (!self || !xIsRunning(id)) {
            return;
        }
    }
    if (fTransfer->hasEnded()) {
        xFinishRequest(fTransfer->errorText());
    }
}

bool QHttp::xStoreBody(const QByteArray& body) {
    QIODevice* to = fRequests.first().fTo;
    if (to == nullptr || to->write(body) != body.size()) {
        xFinishRequest(to == nullptr ? tr("Nothing to write the body to") : to->errorString());
        return false;
    }
    fBodySize += body.size();
    return true;
}

bool QHttp::xIsRunning(int id) const {
    return fTransfer && currentId() == id;
}

void QHttp::xFinishRequest(const QString& error) {
    const bool failed = !error.isEmpty();
    const int id = fRequests.takeFirst().fId;
    fTransfer.reset();
    if (failed) {
        fErrorString = error;
        fRequests.clear();
    }
    if (!fRequests.isEmpty()) {
        fStartTimer.start(0);
    }
    Q_EMIT requestFinished(id, failed);
}
