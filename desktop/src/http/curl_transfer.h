#ifndef OBVISTA_DESKTOP_HTTP_CURL_TRANSFER_H
#define OBVISTA_DESKTOP_HTTP_CURL_TRANSFER_H

#include "http/http_transfer.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <curl/curl.h>

#include <array>
#include <map>
#include <utility>

/**
 * A transfer of libcurl in the event loop of the thread that starts it.
 *
 * libcurl requests sockets and time-outs, which are mapped to notifiers and a timer. It forbids
 * most of its functions inside its callbacks, so these only collect data; the user takes it in the
 * progress callback. One step of libcurl delivers at most some hundred kilobytes.
 */
class CurlTransfer : public QObject, public HttpTransfer {
    Q_OBJECT

  public:
    /**
     * Maximum total size of all header lines of a response, including interim responses, in bytes.
     */
    static constexpr std::size_t a_maximumHeaderSize = std::size_t{64} * 1024;

    CurlTransfer(const QString& host, quint16 port, const QString& path,
                 std::chrono::milliseconds timeOut, std::function<void()> onProgress);
    ~CurlTransfer() override;

    std::optional<QHttpResponseHeader> takeHeader() override;
    QByteArray takeBody() override;
    bool hasEnded() const override { return fHasEnded; }
    QString errorText() const override { return fErrorText; }

  private:
    struct Delete {
        void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
        void operator()(CURLU* url) const { curl_url_cleanup(url); }
    };

    static int xOnSocketWanted(CURL* transfer, curl_socket_t socket, int what, void* self,
                               void* socketData);
    static int xOnTimerWanted(CURLM* multi, long milliseconds, void* self);
    static std::size_t xOnHeaderLine(char* data, std::size_t size, std::size_t count, void* self);
    static std::size_t xOnBody(char* data, std::size_t size, std::size_t count, void* self);

    void xSetEventLoop();
    void xSetUrl(const QString& host, quint16 port, const QString& path);
    void xSetOptions(std::chrono::milliseconds timeOut);
    void xWatch(curl_socket_t socket, QSocketNotifier::Type type, bool wanted);
    QSocketNotifier* xCreateNotifier(curl_socket_t socket, QSocketNotifier::Type type);
    void xAct(curl_socket_t socket, int action);
    bool xAcceptHeaderLine(const QByteArray& line);
    int xStatusCode() const;
    void xOnProgress();
    QString xErrorText(CURLcode result) const;

    CURLM* const fMulti;
    std::map<std::pair<curl_socket_t, QSocketNotifier::Type>, QSocketNotifier*> fNotifiers;
    QTimer fTimer;
    const std::function<void()> fOnProgress;
    std::unique_ptr<CURLU, Delete> fUrl;
    std::unique_ptr<CURL, Delete> fEasy;
    std::array<char, CURL_ERROR_SIZE> fErrorBuffer{};
    QString fRefusal;
    std::size_t fHeaderSize = 0;
    bool fHeaderComplete = false;
    bool fHeaderTaken = false;
    QByteArray fBody;
    bool fHasEnded = false;
    QString fErrorText;
};

#endif
