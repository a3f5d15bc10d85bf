#ifndef OBVISTA_DESKTOP_HTTP_HTTP_TRANSFER_H
#define OBVISTA_DESKTOP_HTTP_HTTP_TRANSFER_H

#include "http/qhttp_response_header.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

/**
 * A running GET request with the received data that has not been taken yet, in the event loop of
 * the thread that started it.
 *
 * It is implemented with libcurl in a library that is loaded when the first transfer starts, since
 * libcurl depends on more than 30 libraries, which the program does not need before.
 */
class HttpTransfer {
  public:
    HttpTransfer() = default;
    /** Aborts the transfer. */
    virtual ~HttpTransfer() = default;
    HttpTransfer(const HttpTransfer&) = delete;
    HttpTransfer& operator=(const HttpTransfer&) = delete;

    /**
     * Starts a transfer. It sends nothing and calls nothing before control returns to the event
     * loop.
     *
     * @param onProgress called when data may have arrived or the transfer has ended; it may delete
     * the transfer
     * @param[out] error a message for users if the library cannot be loaded
     * @return null if the library cannot be loaded
     */
    static std::unique_ptr<HttpTransfer> start(const QString& host, quint16 port,
                                               const QString& path,
                                               std::chrono::milliseconds timeOut,
                                               std::function<void()> onProgress, QString* error);

    /** Returns the header of the response, once, when it is complete. */
    virtual std::optional<QHttpResponseHeader> takeHeader() = 0;

    /** Returns the bytes of the body that have arrived since the last call. */
    virtual QByteArray takeBody() = 0;

    virtual bool hasEnded() const = 0;

    /** Returns a message for users when the transfer has ended; empty for a success. */
    virtual QString errorText() const = 0;
};

#endif
