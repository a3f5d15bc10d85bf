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
 * One GET under way, and what has arrived of its answer and was not taken yet.
 *
 * libcurl forbids most of its calls inside its callbacks, so these only collect; whoever follows
 * CurlMulti::progressed() takes. One step of libcurl brings at most some hundred kilobytes.
 */
class HttpTransfer {
  public:
    /** Bytes of all header lines of an answer together, those of interim answers included. */
    static constexpr std::size_t a_maximumHeaderSize = std::size_t{64} * 1024;

    /** Starts the transfer; nothing is sent before `multi`'s event loop runs. */
    HttpTransfer(CurlMulti* multi, const QString& host, quint16 port, const QString& path,
                 std::chrono::milliseconds timeOut);
    /** Ends the transfer where it is. */
    ~HttpTransfer();
    HttpTransfer(const HttpTransfer&) = delete;
    HttpTransfer& operator=(const HttpTransfer&) = delete;

    /** The header of the answer, once, when it is complete. */
    std::optional<QHttpResponseHeader> takeHeader();

    /** The bytes of the body that have arrived since the last call. */
    QByteArray takeBody();

    /** What `result` means for this transfer, as a text for people; empty for a success. */
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
