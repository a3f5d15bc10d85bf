// A web server's response to a request for an icon.
#include "fuzz_target.h"
#include "http/qhttp.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QEventLoop>
#include <QTcpServer>
#include <QTcpSocket>

namespace {

using obvista_fuzz::require;

/** Sends the same response to every client, and closes the connection. */
class Server {
  public:
    Server() {
        require(fListener.listen(QHostAddress::LocalHost), "a port is free");
        QObject::connect(&fListener, &QTcpServer::newConnection, [this] { xAccept(); });
    }

    quint16 port() const { return fListener.serverPort(); }
    void setAnswer(const QByteArray& answer) { fAnswer = answer; }

  private:
    void xAccept() {
        QTcpSocket* socket = fListener.nextPendingConnection();
        QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        QObject::connect(socket, &QTcpSocket::readyRead, [this, socket] {
            if (socket->readAll().endsWith("\r\n\r\n")) {
                socket->write(fAnswer);
                socket->disconnectFromHost();
            }
        });
    }

    QTcpServer fListener;
    QByteArray fAnswer;
};

void ask(quint16 port) {
    constexpr std::chrono::seconds timeOut{5};
    QBuffer body;
    body.open(QIODevice::WriteOnly);
    QHttp http;
    http.setTransferTimeOut(timeOut);
    int headers = 0;
    QObject::connect(&http, &QHttp::responseHeaderReceived, [&](const QHttpResponseHeader& header) {
        ++headers;
        require(header.statusCode() >= 0, "a status is a number");
        require(body.size() == 0, "the header comes before the body");
    });
    QEventLoop loop;
    http.setHost(QStringLiteral("127.0.0.1"), port);
    const int request = http.get(QStringLiteral("//media/buddy.icon"), &body);
    QObject::connect(&http, &QHttp::requestFinished, [&](int id, bool error) {
        require(error || id != request || headers == 1, "an answer has one header");
        if (error || id == request) {
            loop.quit();
        }
    });
    loop.exec();
    require(headers <= 1, "an answer has one header");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static int count = 0;
    static QCoreApplication application(count, nullptr);
    static Server server;
    server.setAnswer(QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size)));
    ask(server.port());
    // Deletes the server's sockets, too.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
    return 0;
}
