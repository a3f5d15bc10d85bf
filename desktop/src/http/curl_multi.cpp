#include "http/curl_multi.h"

namespace {

// libcurl must be initialised before its first use by any thread. TLS is not needed for plain HTTP.
void initialiseCurl() {
    static const CURLcode once = curl_global_init(CURL_GLOBAL_NOTHING);
    Q_UNUSED(once)
}

CURLM* createMulti() {
    initialiseCurl();
    CURLM* multi = curl_multi_init();
    Q_CHECK_PTR(multi);
    return multi;
}

}  // namespace

CurlMulti::CurlMulti(QObject* parent) : QObject(parent), fMulti(createMulti()) {
    curl_multi_setopt(fMulti, CURLMOPT_SOCKETFUNCTION, &CurlMulti::xOnSocketWanted);
    curl_multi_setopt(fMulti, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(fMulti, CURLMOPT_TIMERFUNCTION, &CurlMulti::xOnTimerWanted);
    curl_multi_setopt(fMulti, CURLMOPT_TIMERDATA, this);
    fTimer.setSingleShot(true);
    // A coarse timer may fire early, and libcurl would then request it again.
    fTimer.setTimerType(Qt::PreciseTimer);
    connect(&fTimer, &QTimer::timeout, this, [this] { xAct(CURL_SOCKET_TIMEOUT, 0); });
}

CurlMulti::~CurlMulti() {
    curl_multi_cleanup(fMulti);
}

void CurlMulti::add(CURL* transfer) {
    curl_multi_add_handle(fMulti, transfer);
}

void CurlMulti::remove(CURL* transfer) {
    curl_multi_remove_handle(fMulti, transfer);
}

std::optional<CURLcode> CurlMulti::takeResult() {
    int remaining = 0;
    while (const CURLMsg* message = curl_multi_info_read(fMulti, &remaining)) {
        if (message->msg == CURLMSG_DONE) {
            return message->data.result;
        }
    }
    return std::nullopt;
}

int CurlMulti::xOnSocketWanted(CURL*, curl_socket_t socket, int what, void* self, void*) {
    auto* multi = static_cast<CurlMulti*>(self);
    const int events = what == CURL_POLL_REMOVE ? CURL_POLL_NONE : what;
    multi->xWatch(socket, QSocketNotifier::Read, (events & CURL_POLL_IN) != 0);
    multi->xWatch(socket, QSocketNotifier::Write, (events & CURL_POLL_OUT) != 0);
    return 0;
}

int CurlMulti::xOnTimerWanted(CURLM*, long milliseconds, void* self) {
    QTimer& timer = static_cast<CurlMulti*>(self)->fTimer;
    if (milliseconds < 0) {
        timer.stop();
    } else {
        timer.start(std::chrono::milliseconds(milliseconds));
    }
    return 0;
}

void CurlMulti::xWatch(curl_socket_t socket, QSocketNotifier::Type type, bool wanted) {
    const auto key = std::make_pair(socket, type);
    const auto found = fNotifiers.find(key);
    if (wanted == (found != fNotifiers.end())) {
        return;
    }
    if (wanted) {
        fNotifiers.emplace(key, xCreateNotifier(socket, type));
        return;
    }
    // Disabled at once, since the descriptor is closed when this returns; deleted later, since this
    // may be called from the notifier's signal.
    found->second->setEnabled(false);
    found->second->deleteLater();
    fNotifiers.erase(found);
}

QSocketNotifier* CurlMulti::xCreateNotifier(curl_socket_t socket, QSocketNotifier::Type type) {
    auto* notifier = new QSocketNotifier(socket, type, this);
    const int action = type == QSocketNotifier::Read ? CURL_CSELECT_IN : CURL_CSELECT_OUT;
    connect(notifier, &QSocketNotifier::activated, this,
            [this, socket, action] { xAct(socket, action); });
    return notifier;
}

void CurlMulti::xAct(curl_socket_t socket, int action) {
    int running = 0;
    curl_multi_socket_action(fMulti, socket, action, &running);
    Q_EMIT progressed();
}
