#include "session/history_client.h"

#include <obvista/viewer/notice.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_proxy.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>

namespace memoryviewer {

namespace {

/** Seconds; a file without indexes is read from its beginning. */
constexpr double a_timeOut = 30;
/** Time between two calls of a replay that is busy with the histories of other programs. */
constexpr std::chrono::milliseconds a_pause(250);

/** Throws KVError if the answer is not the agreed one. */
std::vector<CurvePoint> pointsOf(const KVValue::Map& answer) {
    // Somewhat more than requested is allowed.
    constexpr std::size_t most = HistoryClient::a_points * 2;
    const KVValue::List& times = answer.at("times").toList();
    const KVValue::List& values = answer.at("values").toList();
    const std::size_t size = std::min({times.size(), values.size(), most});
    std::vector<CurvePoint> points;
    points.reserve(size);
    for (std::size_t i = 0; i < size; ++i) {
        points.push_back({times[i].toInt(), values[i].toFloat()});
    }
    return points;
}

}  // namespace

HistoryClient::HistoryClient(const std::shared_ptr<KVConnection>& connection,
                             obvista::Notice& notice)
    : fReplay(std::make_unique<KVProxy>("KVReplay", connection, a_timeOut)), fNotice(notice) {
}

HistoryClient::~HistoryClient() {
    {
        const std::lock_guard lock(fMutex);
        fIsStopped = true;
    }
    fWork.notify_all();
    fReplay->close();
    if (fThread.joinable()) {
        fThread.join();
    }
}

void HistoryClient::request(const std::vector<HistoryRequest>& requests) {
    const std::lock_guard lock(fMutex);
    fRequests = requests;
    if (!fRequests.empty() && !fThread.joinable()) {
        fThread = std::thread([this] { xRun(); });
    }
    fWork.notify_all();
}

std::vector<KeyHistory> HistoryClient::take() {
    const std::lock_guard lock(fMutex);
    return std::exchange(fAnswers, {});
}

void HistoryClient::xRun() {
    std::unique_lock lock(fMutex);
    for (;;) {
        fWork.wait(lock, [this] { return fIsStopped || !fRequests.empty(); });
        if (fIsStopped) {
            return;
        }
        const HistoryRequest request = fRequests.front();
        lock.unlock();
        std::optional<KeyHistory> answer = xCall(request);
        lock.lock();
        if (!answer) {  // called again unless other histories are wanted by then
            fWork.wait_for(lock, a_pause, [this] { return fIsStopped; });
            continue;
        }
        fRequests.erase(std::remove(fRequests.begin(), fRequests.end(), request), fRequests.end());
        fAnswers.push_back(std::move(*answer));
        fNotice.give();
    }
}

/** Returns nothing if the replay is busy. */
std::optional<KeyHistory> HistoryClient::xCall(const HistoryRequest& request) {
    KeyHistory history;
    history.fRequest = request;
    try {
        const KVValue answer = fReplay->callValue(
            "getHistory",
            {request.fKey, request.fFrom, request.fTo, static_cast<std::int64_t>(a_points)});
        const KVValue::Map& map = answer.toMap();
        history.fPoints = pointsOf(map);
        history.fIsThinned = map.at("thinned").toBool();
    } catch (const KVError& error) {
        if (error.cause() == KVError::Cause::TooMany) {
            return std::nullopt;
        }
        history.fHasFailed = true;
    } catch (const std::exception&) {
        history.fHasFailed = true;
    }
    return history;
}

}  // namespace memoryviewer
