#ifndef OBVISTA_DESKTOP_HTTP_HTTP_TRANSFER_H
#define OBVISTA_DESKTOP_HTTP_HTTP_TRANSFER_H

#include "http/qhttp_response_header.h"

#include <QByteArray>
#include <QString>

#include <curl/curl.h>

#include <array>
#include <chrono>
#include <memory>
#include <optional>

class CurlMulti;

/**
 * A running GET request with the received data that has not been taken yet.
 *
 * libcurl forbids most of its functions inside its callbacks, so these only collect data; the user
 * takes it when CurlMulti::progressed() is emitted. One step of libcurl delivers at most some
 * hundred kilobytes.
 */
class HttpTransfer {
  public:
    /**
     * Maximum total size of all header lines of a response, including interim responses, in bytes.
     */
    static constexpr std::size_t a_maximumHeaderSize = std::size_t{64} * 1024;

    /** Starts the transfer; nothing is sent before `multi`'s event loop runs. */
    HttpTransfer(CurlMulti* multi, const QString& host, quint16 port, const QString& path,
                 std::chrono::milliseconds timeOut);
    /** Aborts the transfer. */
    ~HttpTransfer();
    HttpTransfer(const HttpTransfer&) = delete;
    HttpTransfer& operator=(const HttpTransfer&) = delete;

    /** Returns the header of the response, once, when it is complete. */
    std::optional<QHttpResponseHeader> takeHeader();

    /** Returns the bytes of the body that have arrived since the last call. */
    QByteArray takeBody();

    /** Returns a message for users for `result` of this transfer; empty for a success. */
    QString errorText(CURLcode result) const;

  private:
    struct Delete {
        void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
        void operator()(CURLU* url) const { curl_url_cleanup(url); }
    };

    static std::size_t xOnHeaderLine(char* data, std::size_t size, std::size_t count, void* self);
    static std::size_t xOnBody(char* data, std::size_t size, std::size_t count, void* self);

    void xSetUrl(const QString& host, quint16 port, const QString& path);
    void xSetOptions(std::chrono::milliseconds timeOut);
    bool xAcceptHeaderLine(const QByteArray& line);
    int xStatusCode() const;

    CurlMulti* fMulti;
    std::unique_ptr<CURLU, Delete> fUrl;
    std::unique_ptr<CURL, Delete> fEasy;
    std::array<char, CURL_ERROR_SIZE> fErrorBuffer{};
    QString fRefusal;
    std::size_t fHeaderSize = 0;
    bool fHeaderComplete = false;
    bool fHeaderTaken = false;
    QByteArray fBody;
};

#endif
