#ifndef ROBAXI_SUBSCRIPTION_SERVER_H
#define ROBAXI_SUBSCRIPTION_SERVER_H

#include "robaxi/v1/robaxi.grpc.pb.h"
#include "server/server_stream.h"
#include "value_table_private.h"
#include "wire/batch_codec.h"

#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace robaxi {

/**
 * The robot's end of one subscription.
 *
 * It keeps no queue: whenever it may send (the last write is done, the client has consumed enough,
 * the rate allows it), it searches the table for values that are newer than those sent. Searching
 * and packing happens on the broker's timer thread; the threads of gRPC and those that set values
 * only wake it.
 */
class SubscriptionServer : public ServerStream<v1::SubscriptionRequest>,
                           private KVValueTable::Private::Observer {
  public:
    SubscriptionServer(Server& server, grpc::CallbackServerContext* context);
    ~SubscriptionServer() override;

    Kind kind() const override { return Kind::Subscription; }

    void OnWriteDone(bool ok) override;

  private:
    using Table = KVValueTable::Private;

    /** The state of a chosen key that was sent last. */
    struct LastSent {
        std::uint64_t fVersion = 0;
        std::optional<std::uint64_t> fChanges;  // not known before the first value is sent
    };

    void valuesChanged() override;
    void keyAdded() override;
    void keyRemoved(std::uint32_t id) override;

    void xHandle() override;
    void xLeave() override;
    void xStartSubscription(const v1::SubscriptionStart& start);
    void xContinue(const v1::KnownState& known, Table& table);
    void xSetRate(double rate);

    // On the timer thread; from xChoose() on with the table's lock held:
    void xPump() override;
    bool xMaySend();
    bool xCompose();
    void xChoose(const std::vector<std::uint32_t>& ids);
    bool xComposePresentKeys();
    bool xComposeRemovedKeys();
    bool xComposeAddedKeys();
    bool xComposeDueValues(TimerThread::Clock::duration period);
    bool xComposeValues(bool onlyNewlyChosen);
    bool xPackAll(BatchEncoder& batch);
    void xCollect();
    bool xPackChosen(BatchEncoder& batch, bool onlyNewlyChosen);

    // Guarded by fMutex:
    bool fSendsAllKeys = false;
    std::uint64_t fConsumed = 0;
    TimerThread::Clock::duration fPeriod{};
    std::optional<std::vector<std::uint32_t>> fNewChoice;
    std::shared_ptr<Table> fTable;  // set once, by the first request

    // Used on the timer thread only, except that keys are announced and removed with the table's
    // lock held.
    v1::SubscriptionUpdate fNext;
    std::uint64_t fSent = 0;
    std::uint32_t fLastAnnounced = 0;
    std::vector<std::uint32_t> fRemoved;
    bool fHasSentTable = false;
    std::optional<std::uint64_t> fKnownKeys;  // after a resumption, until they are compared
    bool fHasOtherTable = false;              // than the client knows, until that is sent
    std::uint64_t fSeenVersion = 0;
    std::uint64_t fCountedFrom = 0;     // changes above this version are passed over if not sent
    std::uint64_t fPassedOver = 0;      // changes that the next update reports
    std::uint64_t fVersionAtStart = 0;  // of the first part of an update
    bool fHasMore = false;              // the update needs another part
    TimerThread::Clock::time_point fLastBatch;

    // With all keys:
    std::vector<std::uint32_t> fCollected;  // keys of an update; empty if it is complete
    std::size_t fNextCollected = 0;         // where its next part continues
    std::uint64_t fSentOfUpdate = 0;        // changes up to fVersionAtStart that were sent
    std::unordered_map<std::uint32_t, std::uint64_t> fSentAhead;  // versions above it that were

    // With chosen keys:
    std::map<std::uint32_t, LastSent> fChosen;
    std::uint32_t fNextChosen = 0;  // where the next part of an update continues; 0 if complete
    bool fHasNewlyChosen = false;

    /** True if the pump will run anyway, so that a changed value need not wake it. */
    std::atomic<bool> fIsAwake{false};
    /** Time at which a changed value wakes the pump. */
    std::atomic<TimerThread::Clock::time_point> fWakeForValues{TimerThread::Clock::time_point{}};
};

}  // namespace robaxi

#endif
