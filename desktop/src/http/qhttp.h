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

class HttpTransfer;

/**
 * A client for plain HTTP that runs in the event loop of the thread in which it lives.
 *
 * Name and contract are those of the client that Qt had up to version 4, as far as they are needed
 * here: QNetworkAccessManager, its successor, removes doubled slashes from the path. It is based on
 * libcurl.
 *
 * Requests are queued, have an identifier and run one after the other, starting when control
 * returns to the event loop. A request is sent to exactly the given host, port and path: no proxy,
 * no redirect, no cookie. The body is stored as it was sent, never decompressed; only a chunked
 * body is reassembled.
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
    /** Maximum duration of one request, from connecting to the last byte of the body. */
    static constexpr std::chrono::milliseconds a_transferTimeOut{30000};

    explicit QHttp(QObject* parent = nullptr);
    /** A running request ends without a signal. */
    ~QHttp() override;

    /**
     * Queues the setting of the host for the requests after it.
     *
     * @return the identifier of this request: not 0, and unique for each client
     */
    int setHost(const QString& hostName, quint16 port = 80);

    /**
     * Queues a GET request. The body is written to `to` at its current position as it arrives; `to`
     * must be open and stay open.
     *
     * @param path the path without percent-encoding; it is sent with every slash and dot
     * @return the identifier of this request: not 0, and unique for each client
     */
    int get(const QString& path, QIODevice* to);

    /**
     * Returns the identifier of the running request or of the next one in the queue; 0 if there is
     * none.
     */
    int currentId() const;

    /** Returns the error of the last request; available until the next request starts. */
    QString errorString() const;

    /** Sets the time-out of the requests that have not started yet. For tests. */
    void setTransferTimeOut(std::chrono::milliseconds timeOut);

  public Q_SLOTS:
    /**
     * Ends the current request with an error. requestFinished() is emitted before this returns. The
     * requests after it are dropped without a signal.
     */
    void abort();

  Q_SIGNALS:
    /**
     * Emitted when a request has ended. With an error the requests after it are dropped without a
     * signal; requests queued from a connected slot run.
     */
    void requestFinished(int id, bool error);

    /** Emitted once for each response, before any of its body is stored. */
    void responseHeaderReceived(const QHttpResponseHeader& response);

    /**
     * Emitted when more of the body has been stored: `done` bytes of `total`, which is 0 if the
     * server has not announced it. Numbers that do not fit an int are clamped.
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
    std::unique_ptr<HttpTransfer> fTransfer;
};

#endif
