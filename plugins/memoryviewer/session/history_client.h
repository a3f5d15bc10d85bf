#ifndef OBVISTA_MEMORYVIEWER_HISTORY_CLIENT_H
#define OBVISTA_MEMORYVIEWER_HISTORY_CLIENT_H

#include "plots/curve_history.h"

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

class KVConnection;
class KVProxy;

namespace obvista {
class Notice;
}

namespace memoryviewer {

/** A span of a key's history. Times are microseconds by the recorder's clock. */
struct HistoryRequest {
    std::string fKey;
    std::int64_t fFrom = 0;
    std::int64_t fTo = 0;

    bool operator==(const HistoryRequest& other) const {
        return fKey == other.fKey && fFrom == other.fFrom && fTo == other.fTo;
    }
};

/** The numbers of a key in a span of a recording. */
struct KeyHistory {
    HistoryRequest fRequest;
    std::vector<CurvePoint> fPoints;  ///< with the robot's times
    bool fIsThinned = false;          ///< numbers were left out
    bool fHasFailed = false;          ///< the replay has no history of the key
};

/**
 * Requests histories from a replay's "KVReplay", one after the other on a dedicated thread, so that
 * neither the GUI thread nor a seek waits for them.
 *
 * All operations may be called from any thread.
 */
class HistoryClient {
  public:
    /** Numbers of one answer: more than a plot has columns of pixels. */
    static constexpr std::size_t a_points = 4000;

    /** @param notice given for each answer; must outlive the client */
    HistoryClient(const std::shared_ptr<KVConnection>& connection, obvista::Notice& notice);
    /** Ends the call in flight. Returns when no thread is calling. */
    ~HistoryClient();
    HistoryClient(const HistoryClient&) = delete;
    HistoryClient& operator=(const HistoryClient&) = delete;

    /**
     * Requests these histories instead of the former ones. A busy replay is called again until it
     * answers; a call in flight is not ended.
     */
    void request(const std::vector<HistoryRequest>& requests);

    /** Returns the answers since the last call. */
    std::vector<KeyHistory> take();

  private:
    void xRun();
    std::optional<KeyHistory> xCall(const HistoryRequest& request);

    const std::unique_ptr<KVProxy> fReplay;
    obvista::Notice& fNotice;
    std::mutex fMutex;  // guards all members below
    std::condition_variable fWork;
    std::vector<HistoryRequest> fRequests;  // not answered yet
    std::vector<KeyHistory> fAnswers;
    bool fIsStopped = false;
    std::thread fThread;  // started with the first request
};

}  // namespace memoryviewer

#endif
