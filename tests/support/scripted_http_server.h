#ifndef OBVISTA_TESTS_SUPPORT_SCRIPTED_HTTP_SERVER_H
#define OBVISTA_TESTS_SUPPORT_SCRIPTED_HTTP_SERVER_H

#include <QByteArray>
#include <QHostAddress>
#include <QList>

#include <chrono>
#include <thread>

namespace obvista_test {

/** What a ScriptedHttpServer does with one connection when the request's header has come. */
struct ScriptedAnswer {
    enum class Then { Close, KeepOpen };

    /** Sent as it stands, status line and header included. */
    QByteArray fBytes;
    /** Done when everything is sent. */
    Then fThen = Then::Close;
    /** Sent after fBytes, over and over, until the client goes away. */
    QByteArray fEndless;
    /** When not 0, fBytes goes out byte by byte, one in each such interval. */
    std::chrono::milliseconds fInterval{0};
};

/** A status line, a Content-Length that fits, the header lines given, and the body. */
ScriptedAnswer answerWith(const QByteArray& status, const QByteArray& body,
                          const QByteArray& headerLines = QByteArray());

/** An answer of `bytes` and then nothing more, while the connection stays open. */
ScriptedAnswer answerThenSilence(const QByteArray& bytes);

/**
 * A server whose answers are given byte by byte, and which keeps the requests byte by byte.
 *
 * It works in a thread of its own. All operations may be called from any thread.
 */
class ScriptedHttpServer {
  public:
    /** Listens when this returns; the program ends when it cannot. Port 0 takes a free one. */
    explicit ScriptedHttpServer(QList<ScriptedAnswer> answers,
                                const QHostAddress& address = QHostAddress::LocalHost,
                                quint16 port = 0);
    /** Closes all connections. */
    ~ScriptedHttpServer();

    quint16 port() const;

    /** The headers of the requests, in the order in which they came. */
    QList<QByteArray> requests() const;
    int openConnections() const;
    /** Bytes of answers that were handed to the network. */
    qint64 bytesSent() const;

  private:
    class Worker;
    Worker* fWorker;
    std::thread fThread;
};

}  // namespace obvista_test

#endif
