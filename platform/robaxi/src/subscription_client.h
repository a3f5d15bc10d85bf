#ifndef ROBAXI_SUBSCRIPTION_CLIENT_H
#define ROBAXI_SUBSCRIPTION_CLIENT_H

#include "error_sentences.h"
#include "link.h"
#include "robaxi/v1/robaxi.grpc.pb.h"
#include "task_pool.h"
#include "write_gate.h"

#include <robaxi/kv_subscription.h>

#include <grpcpp/grpcpp.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_set>
#include <vector>

namespace robaxi {

/**
 * The client's end of one subscription.
 *
 * The next update is read only when the listener is done with the last one, so nothing piles up
 * here, and the robot learns by it how fast the listener is.
 */
class SubscriptionClient
    : public std::enable_shared_from_this<SubscriptionClient>,
      private grpc::ClientBidiReactor<v1::SubscriptionRequest, v1::SubscriptionUpdate>,
      private Link::LossListener {
  public:
    SubscriptionClient(const std::shared_ptr<Runtime>& runtime, std::shared_ptr<Link> link,
                       Target target, KVSubscription::Listener* listener);
    ~SubscriptionClient() override;
    SubscriptionClient(const SubscriptionClient&) = delete;
    SubscriptionClient& operator=(const SubscriptionClient&) = delete;

    void start(bool allKeys, double rate);
    void setKeys(const std::vector<std::uint32_t>& ids);
    void setRate(double rate);
    /** Returns when the listener is not being called any more, unless called from it. */
    void stop();

  private:
    void OnReadDone(bool ok) override;
    void OnWriteDone(bool ok) override;
    void OnDone(const grpc::Status& status) override;
    void linkLost(const Failure& loss) override;

    void xFail(const Failure& failure);
    void xEndWhen(bool now);
    void xRead();
    void xWrite();
    v1::SubscriptionRequest& xNextRequest();

    // On the strand:
    void xDeliver();
    void xDeliverContent();
    void xAddKeys(const v1::KeysAdded& message);
    void xRemoveKeys(const v1::KeySelection& message);
    void xChangeValues(const v1::Values& message);
    void xTellEnd();

    const std::shared_ptr<Link> fLink;
    const Target fTarget;
    KVSubscription::Listener* const fListener;
    const std::shared_ptr<Strand> fStrand;
    grpc::ClientContext fContext;
    WriteGate fGate;
    v1::SubscriptionRequest fRequest;  // in the hands of gRPC while a write is in flight
    v1::SubscriptionUpdate fUpdate;
    std::unordered_set<std::uint32_t> fKnownIds;  // used on the strand only

    std::mutex fMutex;
    std::condition_variable fDone;
    std::optional<v1::SubscriptionRequest> fNextRequest;  // the newest of everything to be said
    std::optional<Failure> fFailure;
    bool fIsStarted = false;
    bool fIsStopped = false;
    bool fIsDone = false;
};

}  // namespace robaxi

#endif
