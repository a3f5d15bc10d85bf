#ifndef OBVISTA_TESTS_SUPPORT_SCRIPTED_HTTP_SERVER_H
#define OBVISTA_TESTS_SUPPORT_SCRIPTED_HTTP_SERVER_H

#include <QByteArray>
#include <QHostAddress>
#include <QList>

#include <chrono>
#include <thread>

namespace obvista_test {

/**
 * The answer of a ScriptedHttpServer to one connection, sent when the request's header has arrived.
 */
struct ScriptedAnswer {
    enum class Then { Close, KeepOpen };

    /** Sent unchanged, including status line and header. */
    QByteArray fBytes;
    /** Action after everything is sent. */
    Then fThen = Then::Close;
    /** Sent repeatedly after fBytes, until the client disconnects. */
    QByteArray fEndless;
    /** If not 0, fBytes is sent byte by byte, one in each interval. */
    std::chrono::milliseconds fInterval{0};
};

/**
 * Returns an answer with a status line, a matching Content-Length, the given header lines, and the
 * body.
 */
ScriptedAnswer answerWith(const QByteArray& status, const QByteArray& body,
                          const QByteArray& headerLines = QByteArray());

/** Returns an answer that announces more than it sends. */
ScriptedAnswer answerCutAfter(const QByteArray& part);

/** Returns an answer of `bytes` that keeps the connection open. */
ScriptedAnswer answerThenSilence(const QByteArray& bytes);

/**
 * A server whose answers are defined byte by byte, and which records the requests byte by byte.
 *
 * It runs on a dedicated thread. All operations may be called from any thread.
 */
class ScriptedHttpServer {
  public:
    /** Listens when this returns; terminates the program if it cannot. Port 0 uses a free one. */
    explicit ScriptedHttpServer(QList<ScriptedAnswer> answers,
                                const QHostAddress& address = QHostAddress::LocalHost,
                                quint16 port = 0);
    /** Closes all connections. */
    ~ScriptedHttpServer();

    quint16 port() const;

    /** Returns the headers of the requests in the order of arrival. */
    QList<QByteArray> requests() const;
    int openConnections() const;

  private:
    class Worker;
    Worker* fWorker;
    std::thread fThread;
};

}  // namespace obvista_test

#endif
