#ifndef ROBAXI_SUBSCRIPTION_SERVER_H
#define ROBAXI_SUBSCRIPTION_SERVER_H

#include "batch_codec.h"
#include "robaxi/v1/robaxi.grpc.pb.h"
#include "timer_thread.h"
#include "value_table_private.h"
#include "write_gate.h"

#include <robaxi/kv_error.h>

#include <grpcpp/grpcpp.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace robaxi {

class Server;

/**
 * The robot's end of one subscription.
 *
 * It keeps no queue: whenever it may send (the last write is done, the client has consumed enough,
 * the rate allows it), it looks into the table for what is newer than what it sent. All looking and
 * packing happens on the broker's timer thread; the threads of gRPC and those that set values only
 * wake it.
 */
class SubscriptionServer
    : public grpc::ServerBidiReactor<v1::SubscriptionRequest, v1::SubscriptionUpdate>,
      private KVValueTable::Private::Observer {
  public:
    SubscriptionServer(Server& server, grpc::CallbackServerContext* context);
    ~SubscriptionServer() override;
    SubscriptionServer(const SubscriptionServer&) = delete;
    SubscriptionServer& operator=(const SubscriptionServer&) = delete;

    void start();
    /** Ends the stream; to be called before OnDone() has told the server. */
    void cancel();
    /** Ends the subscription if it is to this module. */
    void moduleRemoved(const std::string& name);

    void OnReadDone(bool ok) override;
    void OnWriteDone(bool ok) override;
    void OnCancel() override;
    void OnDone() override;

  private:
    using Table = KVValueTable::Private;

    void valuesChanged() override;
    void keyAdded() override;
    void keyRemoved(std::uint32_t id) override;

    void xRead();
    void xHandle();
    void xStartSubscription(const v1::SubscriptionStart& start);
    void xSetRate(double rate);
    void xEnd(KVError::Cause cause, const std::string& text);
    void xFinishWhen(bool now);
    void xWake();

    // On the timer thread; from xChoose() on with the table's lock held:
    void xPump();
    bool xMaySend();
    bool xCompose();
    void xChoose(const std::vector<std::uint32_t>& ids);
    bool xComposeRemovedKeys();
    bool xComposeAddedKeys();
    bool xComposeValues(bool onlyNewlyChosen);
    void xPackAll(BatchEncoder& batch);
    void xPackChosen(BatchEncoder& batch, bool onlyNewlyChosen);

    Server& fServer;
    grpc::CallbackServerContext* const fContext;
    v1::SubscriptionRequest fRequest;
    v1::SubscriptionUpdate fUpdate;
    WriteGate fGate;

    std::mutex fMutex;
    std::string fModule;
    bool fSendsAllKeys = false;
    std::uint64_t fConsumed = 0;
    TimerThread::Clock::duration fPeriod{};
    std::optional<std::vector<std::uint32_t>> fNewChoice;
    std::optional<v1::Error> fEnding;
    std::shared_ptr<Table> fTable;  // set once, by the first request

    // Used on the timer thread only, except that keys are announced and removed with the table's
    // lock held.
    std::uint64_t fSent = 0;
    std::uint32_t fLastAnnounced = 0;
    std::vector<std::uint32_t> fRemoved;
    bool fHasSentTable = false;
    std::uint64_t fSeenVersion = 0;
    std::unordered_map<std::uint32_t, std::uint64_t> fChosen;  // with the version last sent
    bool fHasNewlyChosen = false;
    bool fHasMore = false;  // the last batch was full
    TimerThread::Clock::time_point fLastBatch;

    /** Whether the pump will run anyhow, so that a changed value need not wake it. */
    std::atomic<bool> fIsAwake{false};
    std::atomic<TimerThread::Clock::time_point> fWakeForValues{TimerThread::Clock::time_point{}};
    Timer fPump;
};

}  // namespace robaxi

#endif
