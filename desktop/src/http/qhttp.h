#ifndef OBVISTA_DESKTOP_HTTP_QHTTP_H
#define OBVISTA_DESKTOP_HTTP_QHTTP_H

#include "http/qhttp_response_header.h"

#include <QIODevice>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>

#include <chrono>
#include <memory>

class CurlMulti;
class HttpTransfer;

/**
 * A client for plain HTTP that works from the event loop of the thread in which it lives.
 *
 * Name and contract are those of the client that Qt had up to version 4, as far as they are needed
 * here: QNetworkAccessManager, its successor, tidies doubled slashes out of the path. The work is
 * libcurl's.
 *
 * Requests are queued, carry an identifier and run one after the other, the first of them not
 * before control returns to the event loop. A request is sent to exactly the host, port and path
 * that were given: no proxy, no redirect, no cookie. The body is stored as it was sent, never
 * decompressed; only a chunked body is put together.
 *
 * @code
 * auto* http = new QHttp(this);
 * connect(http, &QHttp::requestFinished, this, &Owner::onFinished);
 * http->setHost("192.168.1.12");
 * fRequest = http->get("/picture.png", &fFile);
 * @endcode
 */
class QHttp : public QObject {
    Q_OBJECT

  public:
    /** The time that one request may take from connecting to the last byte of the body. */
    static constexpr std::chrono::milliseconds a_transferTimeOut{30000};

    explicit QHttp(QObject* parent = nullptr);
    /** A request under way ends without a signal. */
    ~QHttp() override;

    /**
     * Queues the setting of the host for the requests behind it.
     *
     * @return the identifier of this request, never 0 and never used twice by one client
     */
    int setHost(const QString& hostName, quint16 port = 80);

    /**
     * Queues the fetching of a path. The body is written to `to` where it stands, while it arrives;
     * `to` must be open and stay so.
     *
     * @param path path to ask for, without percent-encoding; it is sent with every slash and dot
     * @return the identifier of this request, never 0 and never used twice by one client
     */
    int get(const QString& path, QIODevice* to);

    /** The identifier of the request under way or next in the queue; 0 when there is none. */
    int currentId() const;

    /** Why the last request failed; readable until the next request is started. */
    QString errorString() const;

    /** Sets the time for the requests that have not started yet, so that a test need not wait. */
    void setTransferTimeOut(std::chrono::milliseconds timeOut);

  public Q_SLOTS:
    /**
     * Ends the current request with an error; requestFinished() is emitted before this returns.
     * The requests behind it are dropped without a signal.
     */
    void abort();

  Q_SIGNALS:
    /**
     * A request ended. With an error the requests behind it are dropped without a signal; those
     * queued from a connected slot run.
     */
    void requestFinished(int id, bool error);

    /** Emitted once for each answer, before any of its body is stored. */
    void responseHeaderReceived(const QHttpResponseHeader& response);

    /**
     * More of the body was stored: `done` bytes of `total`, which is 0 when the server has not said
     * it. Numbers that an int cannot hold come as the greatest int.
     */
    void dataReadProgress(int done, int total);

  private:
    struct Request {
        enum class Kind { SetHost, Get };
        int fId;
        Kind fKind;
        QString fText;  // host name or path
        quint16 fPort;
        QPointer<QIODevice> fTo;
    };

    int xAddRequest(Request request);
    void xStartNextRequest();
    void xOnTransferProgressed();
    bool xStoreBody(const QByteArray& body);
    bool xIsRunning(int id) const;
    void xFinishRequest(const QString& error);

    QList<Request> fRequests;
    int fLastId = 0;
    QString fHostName;
    quint16 fPort = 80;
    QString fErrorString;
    std::chrono::milliseconds fTransferTimeOut = a_transferTimeOut;
    qint64 fBodySize = 0;
    qint64 fContentLength = 0;
    QTimer fStartTimer;
    CurlMulti* fMulti;
    std::unique_ptr<HttpTransfer> fTransfer;
};

#endif
