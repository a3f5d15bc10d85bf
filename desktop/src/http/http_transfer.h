#ifndef OBVISTA_DESKTOP_HTTP_HTTP_TRANSFER_H
#define OBVISTA_DESKTOP_HTTP_HTTP_TRANSFER_H

#include "http/qhttp_response_header.h"

#include <base/http_response.h>

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTcpSocket>
#include <QTimer>

#include <chrono>
#include <optional>

/**
 * A running GET request with the received data that has not been taken yet, in the event loop of
 * the thread in which it lives.
 */
class HttpTransfer : public QObject {
    Q_OBJECT

  public:
    /** Starts the transfer. It emits nothing before control returns to the event loop. */
    HttpTransfer(const QString& host, quint16 port, const QString& path,
                 std::chrono::milliseconds timeOut);
    /** Aborts the transfer. */
    ~HttpTransfer() override;

    /** Returns the header of the response, once, when it is complete. */
    std::optional<QHttpResponseHeader> takeHeader();

    /**
     * Returns the bytes of the body that have arrived since the last call. At most some hundred
     * kilobytes arrive between two signals.
     */
    QByteArray takeBody();

    bool hasEnded() const { return fHasEnded; }

    /** Returns a message for users when the transfer has ended; empty for a success. */
    QString errorText() const { return fErrorText; }

  Q_SIGNALS:
    /** Emitted when data may have arrived or the transfer has ended. A slot may delete it. */
    void progressed();

  private:
    void xRead();
    void xOnSocketError();
    void xEnd(const QString& error);

    QTcpSocket fSocket;
    QTimer fTimer;
    base::HttpResponse fResponse;
    bool fIsConnected = false;
    bool fHeaderTaken = false;
    bool fHasEnded = false;
    QString fErrorText;
};

#endif
