#include "scripted_http_server.h"

#include <QEventLoop>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <algorithm>
#include <future>
#include <mutex>
#include <utility>

namespace obvista_test {

namespace {

// Enough to keep the socket busy, little enough for a client that reads nothing.
constexpr qint64 a_sendAhead = qint64{256} * 1024;

}  // namespace

/** Lives in the server's thread; only the counters are read from others. */
class ScriptedHttpServer::Worker : public QObject {
  public:
    explicit Worker(QList<ScriptedAnswer> answers) : fAnswers(std::move(answers)) {}

    ~Worker() override {
        const QObjectList doomed = children();  // each removes itself from the original list
        qDeleteAll(doomed);
    }

    void listen(const QHostAddress& address, quint16 port) {
        fServer = new QTcpServer(this);
        connect(fServer, &QTcpServer::newConnection, this, [this] { accept(); });
        if (!fServer->listen(address, port)) {
            qFatal("cannot listen on %s port %d: %s", qPrintable(address.toString()), port,
                   qPrintable(fServer->errorString()));
        }
        change([this] { fPort = fServer->serverPort(); });
    }

    void run() { fLoop.exec(); }
    void stop() { QMetaObject::invokeMethod(&fLoop, &QEventLoop::quit, Qt::QueuedConnection); }

    template <typename T>
    T read(const T Worker::*member) const {
        const std::lock_guard<std::mutex> lock(fMutex);
        return this->*member;
    }

    quint16 fPort = 0;
    QList<QByteArray> fRequests;
    int fOpenConnections = 0;

  private:
    void accept() {
        while (QTcpSocket* socket = fServer->nextPendingConnection()) {
            socket->setParent(this);
            change([this] { ++fOpenConnections; });
            connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
                change([this] { --fOpenConnections; });
                socket->deleteLater();
            });
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { receive(socket); });
        }
    }

    void receive(QTcpSocket* socket) {
        const QByteArray request = socket->peek(socket->bytesAvailable());
        if (!request.contains("\r\n\r\n")) {
            return;
        }
        disconnect(socket, &QTcpSocket::readyRead, this, nullptr);
        const ScriptedAnswer answer = fAnswers.at(std::min(fNextAnswer++, fAnswers.size() - 1));
        change([this, &request] { fRequests.append(request); });
        socket->readAll();
        send(socket, answer);
    }

    void send(QTcpSocket* socket, const ScriptedAnswer& answer) {
        if (answer.fInterval.count() > 0) {
            trickle(socket, answer);
            return;
        }
        socket->write(answer.fBytes);
        end(socket, answer);
    }

    void trickle(QTcpSocket* socket, const ScriptedAnswer& answer) {
        auto* timer = new QTimer(socket);
        connect(timer, &QTimer::timeout, socket, [this, socket, timer, answer, sent = 0]() mutable {
            socket->write(answer.fBytes.mid(sent++, 1));
            if (sent == answer.fBytes.size()) {
                timer->stop();
                end(socket, answer);
            }
        });
        timer->start(answer.fInterval);
    }

    void end(QTcpSocket* socket, const ScriptedAnswer& answer) {
        if (!answer.fEndless.isEmpty()) {
            sendEndlessly(socket, answer.fEndless);
        } else if (answer.fThen == ScriptedAnswer::Then::Close) {
            socket->disconnectFromHost();
        }
    }

    void sendEndlessly(QTcpSocket* socket, const QByteArray& bytes) {
        const auto fill = [socket, bytes] {
            while (socket->isValid() && socket->bytesToWrite() < a_sendAhead) {
                socket->write(bytes);
            }
        };
        connect(socket, &QTcpSocket::bytesWritten, socket, fill);
        fill();
    }

    template <typename Change>
    void change(Change apply) {
        const std::lock_guard<std::mutex> lock(fMutex);
        apply();
    }

    const QList<ScriptedAnswer> fAnswers;
    int fNextAnswer = 0;
    QEventLoop fLoop;
    QTcpServer* fServer = nullptr;
    mutable std::mutex fMutex;
};

ScriptedAnswer answerWith(const QByteArray& status, const QByteArray& body,
                          const QByteArray& headerLines) {
    ScriptedAnswer answer;
    answer.fBytes = "HTTP/1.1 " + status +
                    "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n" +
                    headerLines + "\r\n" + body;
    return answer;
}

ScriptedAnswer answerCutAfter(const QByteArray& part) {
    ScriptedAnswer answer;
    answer.fBytes = "HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n" + part;
    return answer;
}

ScriptedAnswer answerThenSilence(const QByteArray& bytes) {
    ScriptedAnswer answer;
    answer.fBytes = bytes;
    answer.fThen = ScriptedAnswer::Then::KeepOpen;
    return answer;
}

ScriptedHttpServer::ScriptedHttpServer(QList<ScriptedAnswer> answers, const QHostAddress& address,
                                       quint16 port) {
    std::promise<Worker*> listening;
    fThread = std::thread([&answers, address, port, &listening] {
        Worker worker(std::move(answers));
        worker.listen(address, port);
        listening.set_value(&worker);
        worker.run();
    });
    fWorker = listening.get_future().get();
}

ScriptedHttpServer::~ScriptedHttpServer() {
    fWorker->stop();
    fThread.join();
}

quint16 ScriptedHttpServer::port() const {
    return fWorker->read(&Worker::fPort);
}

QList<QByteArray> ScriptedHttpServer::requests() const {
    return fWorker->read(&Worker::fRequests);
}

int ScriptedHttpServer::openConnections() const {
    return fWorker->read(&Worker::fOpenConnections);
}

}  // namespace obvista_test
