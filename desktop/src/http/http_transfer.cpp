#include "http/http_transfer.h"

#include <QHostAddress>
#include <QNetworkProxy>
#include <QUrl>

#include <algorithm>
#include <limits>

namespace {

// Large enough for a typical icon in one step.
constexpr qint64 a_stepSize = qint64{64} * 1024;
constexpr quint16 a_httpPort = 80;

/** Returns the host as it is named in a request; empty if it is not a valid one. */
QByteArray hostField(const QString& host, quint16 port) {
    QHostAddress address(host);
    QByteArray field = QUrl::toAce(host);
    if (address.protocol() == QAbstractSocket::IPv6Protocol) {
        address.setScopeId(QString());  // has a meaning for this computer only
        field = '[' + address.toString().toLatin1() + ']';
    }
    if (!field.isEmpty() && port != a_httpPort) {
        field += ':' + QByteArray::number(port);
    }
    return field;
}

QByteArray target(const QString& path) {
    const QByteArray encoded = QUrl::toPercentEncoding(path, "/:@!$&'()*+,;=");
    return encoded.startsWith('/') ? encoded : '/' + encoded;
}

}  // namespace

// All connections to a slot that emits are queued: the slots of progressed() may delete the
// transfer, and with it the socket, which must not happen while the socket emits a signal.
HttpTransfer::HttpTransfer(const QString& host, quint16 port, const QString& path,
                           std::chrono::milliseconds timeOut) {
    const QByteArray hostName = hostField(host, port);
    const QByteArray request =
        "GET " + target(path) + " HTTP/1.1\r\nHost: " + hostName + "\r\nAccept: */*\r\n\r\n";
    connect(&fSocket, &QTcpSocket::connected, this, [this, request] {
        fIsConnected = true;
        fSocket.write(request);
    });
    connect(&fSocket, &QTcpSocket::readyRead, this, &HttpTransfer::xRead, Qt::QueuedConnection);
    connect(&fSocket, &QTcpSocket::errorOccurred, this, &HttpTransfer::xOnSocketError,
            Qt::QueuedConnection);
    connect(&fTimer, &QTimer::timeout, this, [this] { xEnd(tr("The request timed out")); });
    fTimer.setSingleShot(true);
    fTimer.start(timeOut);
    if (hostName.isEmpty()) {
        QMetaObject::invokeMethod(
            this, [this, host] { xEnd(tr("\"%1\" is not a valid host name").arg(host)); },
            Qt::QueuedConnection);
        return;
    }
    fSocket.setProxy(QNetworkProxy::NoProxy);
    fSocket.setReadBufferSize(a_stepSize);
    fSocket.connectToHost(host, port);
}

HttpTransfer::~HttpTransfer() {
    fSocket.abort();
}

std::optional<QHttpResponseHeader> HttpTransfer::takeHeader() {
    if (!fResponse.hasHeader() || fHeaderTaken) {
        return std::nullopt;
    }
    fHeaderTaken = true;
    const auto length = fResponse.contentLength();
    const auto most = static_cast<std::uint64_t>(std::numeric_limits<qint64>::max());
    return QHttpResponseHeader(fResponse.status(),
                               length ? static_cast<qint64>(std::min(*length, most)) : -1);
}

QByteArray HttpTransfer::takeBody() {
    return QByteArray::fromStdString(fResponse.takeBody());
}

void HttpTransfer::xRead() {
    if (fHasEnded) {
        return;
    }
    const QByteArray bytes = fSocket.readAll();
    if (!fResponse.add(bytes.constData(), static_cast<std::size_t>(bytes.size()))) {
        xEnd(QString::fromStdString(fResponse.error()));
    } else if (fResponse.isComplete()) {
        xEnd(QString());
    } else if (!bytes.isEmpty()) {
        Q_EMIT progressed();
    }
}

void HttpTransfer::xOnSocketError() {
    if (fHasEnded) {
        return;
    }
    if (fSocket.error() != QAbstractSocket::RemoteHostClosedError) {
        const QString reason = fSocket.errorString();
        xEnd(fIsConnected ? reason : tr("Cannot connect: %1").arg(reason));
        return;
    }
    const QByteArray bytes = fSocket.readAll();
    const bool succeeded =
        fResponse.add(bytes.constData(), static_cast<std::size_t>(bytes.size())) && fResponse.end();
    xEnd(succeeded ? QString() : QString::fromStdString(fResponse.error()));
}

void HttpTransfer::xEnd(const QString& error) {
    if (!fHasEnded) {
        fHasEnded = true;
        fErrorText = error;
        fTimer.stop();
        Q_EMIT progressed();
    }
}
