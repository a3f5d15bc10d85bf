#ifndef ROBAXI_SUBSCRIPTION_CLIENT_H
#define ROBAXI_SUBSCRIPTION_CLIENT_H

#include "client/client_stream.h"
#include "robaxi/v1/robaxi.grpc.pb.h"

#include <robaxi/kv_subscription.h>

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace robaxi {

/**
 * The client's end of one subscription.
 *
 * The next update is read only when the callback has processed the last one, so updates do not pile
 * up here, and the robot adapts to the callback's speed.
 */
class SubscriptionClient
    : public ClientStream<ValueStream, v1::SubscriptionRequest, v1::SubscriptionUpdate> {
  public:
    SubscriptionClient(const std::shared_ptr<Runtime>& runtime,
                       std::shared_ptr<ClientSession> session, Target target,
                       const std::vector<std::string>& names, KVSubscription::Callbacks callbacks);
    ~SubscriptionClient() override;

    void start(bool allKeys, double rate);
    void setKeys(const std::vector<std::uint32_t>& ids) override;
    void setRate(double rate) override;

  private:
    void xOpen(ClientTransport& transport, grpc::ClientContext* context) override;
    v1::SubscriptionRequest xFirstRequest(ClientTransport& transport);
    bool xTakeRequest(v1::SubscriptionRequest& request) override;
    v1::Error::Cause xNotFound() const override { return v1::Error::NO_SUCH_MODULE; }
    void xReceived() override;
    v1::SubscriptionRequest& xNextRequest();
    void xSelect(const std::vector<std::uint32_t>& ids);

    // On the strand:
    void xDeliver();
    void xDeliverContent();
    void xAddKeys(const v1::KeysAdded& message);
    void xRemoveKeys(const v1::KeySelection& message);
    void xKeepPresentKeys(const v1::KeySelection& message);
    void xTellRemoved(const std::vector<std::uint32_t>& ids);
    void xChangeValues(const v1::Values& message);
    void xMarkValues(const std::vector<KVChange>& changes);
    void xTellEnd(const KVError& error) override;

    const KVSettings::Limits fLimits;
    const std::unordered_set<std::string> fNames;  // selects keys, unless it is empty
    const KVSubscription::Callbacks fCallbacks;

    // Used on the strand only, after the start:
    std::unordered_set<std::uint32_t> fKnownIds;
    bool fHasTable = false;
    std::uint64_t fTable = 0;
    std::uint64_t fPosition = 0;
    std::uint32_t fLastKey = 0;
    std::uint64_t fAnnouncedKeys = 0;  // also those that fNames does not contain

    // Guarded by fMutex:
    bool fSelectsAll = false;
    double fRate = 0;
    std::optional<std::unordered_map<std::uint32_t, bool>> fSelected;  // true: has a value
    /** The newest request of each kind. */
    std::optional<v1::SubscriptionRequest> fNextRequest;
};

}  // namespace robaxi

#endif
