#ifndef OBVISTA_DESKTOP_HTTP_CURL_MULTI_H
#define OBVISTA_DESKTOP_HTTP_CURL_MULTI_H

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <curl/curl.h>

#include <map>
#include <optional>
#include <utility>

/**
 * Runs libcurl transfers in the event loop of the thread in which it lives.
 *
 * libcurl requests sockets and time-outs, which are mapped to notifiers and a timer. progressed()
 * is emitted outside all calls into libcurl, so that slots may remove transfers.
 */
class CurlMulti : public QObject {
    Q_OBJECT

  public:
    explicit CurlMulti(QObject* parent);
    /** Requires that every transfer has been removed. */
    ~CurlMulti() override;

    void add(CURL* transfer);
    void remove(CURL* transfer);

    /**
     * Returns the result of the transfer that ended, once. For users with one transfer at a time.
     */
    std::optional<CURLcode> takeResult();

  Q_SIGNALS:
    /**
     * Emitted when transfers have progressed: data may have arrived, or a transfer may have ended.
     */
    void progressed();

  private:
    static int xOnSocketWanted(CURL* transfer, curl_socket_t socket, int what, void* self,
                               void* socketData);
    static int xOnTimerWanted(CURLM* multi, long milliseconds, void* self);

    void xWatch(curl_socket_t socket, QSocketNotifier::Type type, bool wanted);
    QSocketNotifier* xCreateNotifier(curl_socket_t socket, QSocketNotifier::Type type);
    void xAct(curl_socket_t socket, int action);

    CURLM* fMulti;
    std::map<std::pair<curl_socket_t, QSocketNotifier::Type>, QSocketNotifier*> fNotifiers;
    QTimer fTimer;
};

#endif
