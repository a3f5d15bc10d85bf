#include "client/subscription_client.h"

#include "wire/batch_codec.h"
#include "wire/message_codec.h"

#include <base/safe_text.h>

#include <algorithm>
#include <utility>

namespace robaxi {

SubscriptionClient::SubscriptionClient(const std::shared_ptr<Runtime>& runtime,
                                       std::shared_ptr<ClientSession> session, Target target,
                                       const std::vector<std::string>& names,
                                       KVSubscription::Callbacks callbacks)
    : ClientStream(runtime, std::move(session), std::move(target)),
      fLimits(runtime->fSettings.fLimits),
      fNames(names.begin(), names.end()),
      fCallbacks(std::move(callbacks)) {
}

SubscriptionClient::~SubscriptionClient() {
    stop();
}

void SubscriptionClient::start(bool allKeys, double rate) {
    fSession->stub().async()->Subscribe(&fContext, this);
    // Read before locking: a lost link calls this object with its own lock held.
    const std::uint64_t sessionId = fSession->sessionId();
    {
        const std::lock_guard lock(fMutex);
        v1::SubscriptionStart* start = xNextRequest().mutable_start();
        start->set_session_id(sessionId);
        start->set_module(base::validUtf8(fTarget.fModule));
        start->set_all_keys(allKeys);
        start->set_rate(rate);
    }
    xStart();
}

void SubscriptionClient::setKeys(const std::vector<std::uint32_t>& ids) {
    if (fNames.empty()) {
        xSelect(ids);
    }
}

void SubscriptionClient::xSelect(const std::vector<std::uint32_t>& ids) {
    {
        const std::lock_guard lock(fMutex);
        v1::KeySelection* keys = xNextRequest().mutable_keys();
        keys->mutable_ids()->Assign(ids.begin(), ids.end());
    }
    xWrite();
}

void SubscriptionClient::setRate(double rate) {
    {
        const std::lock_guard lock(fMutex);
        xNextRequest().set_rate(rate);
    }
    xWrite();
}

v1::SubscriptionRequest& SubscriptionClient::xNextRequest() {
    return fNextRequest ? *fNextRequest : fNextRequest.emplace();
}

bool SubscriptionClient::xTakeRequest(v1::SubscriptionRequest& request) {
    if (!fNextRequest) {
        return false;
    }
    request = std::move(*fNextRequest);
    fNextRequest.reset();
    return true;
}

void SubscriptionClient::xReceived() {
    xPost(&SubscriptionClient::xDeliver);
}

void SubscriptionClient::xDeliver() {
    try {
        xDeliverContent();
    } catch (const Failure& failure) {
        xFail(failure);  // stop listening to a robot that breaks the protocol
    }
    {
        const std::lock_guard lock(fMutex);
        if (fIsStopped) {
            return;
        }
        xNextRequest().set_consumed(fUpdate.number());
    }
    xWrite();
    xRead();
}

void SubscriptionClient::xDeliverContent() {
    switch (fUpdate.content_case()) {
        case v1::SubscriptionUpdate::kKeysAdded:
            xAddKeys(fUpdate.keys_added());
            break;
        case v1::SubscriptionUpdate::kKeysRemoved:
            xRemoveKeys(fUpdate.keys_removed());
            break;
        case v1::SubscriptionUpdate::kValues:
            xChangeValues(fUpdate.values());
            break;
        default:
            break;
    }
}

void SubscriptionClient::xAddKeys(const v1::KeysAdded& message) {
    std::vector<KVKeyInfo> keys;
    keys.reserve(static_cast<std::size_t>(message.keys_size()));
    for (const v1::Key& key : message.keys()) {
        if (!fNames.empty() && fNames.count(key.name()) == 0) {
            continue;  // the robot sends its whole table
        }
        keys.push_back(decodeKey(key));
        if (!fKnownIds.insert(key.id()).second) {
            throw Failure{KVError::Cause::Internal, "a key was sent twice"};
        }
    }
    if (fKnownIds.size() > fLimits.fKeys) {
        throw Failure{KVError::Cause::TooLarge, "the table of keys"};
    }
    if (!fNames.empty()) {
        if (keys.empty()) {
            return;
        }
        xSelect({fKnownIds.begin(), fKnownIds.end()});
    }
    if (fCallbacks.fKeysAdded) {
        fCallbacks.fKeysAdded(keys);
    }
}

void SubscriptionClient::xRemoveKeys(const v1::KeySelection& message) {
    std::vector<std::uint32_t> ids;
    for (const std::uint32_t id : message.ids()) {
        if (fKnownIds.erase(id) != 0) {
            ids.push_back(id);
        }
    }
    if (!ids.empty() && fCallbacks.fKeysRemoved) {
        fCallbacks.fKeysRemoved(ids);
    }
}

void SubscriptionClient::xChangeValues(const v1::Values& message) {
    std::vector<KVChange> changes = decodeBatch(message, fLimits.fDepth);
    const auto isUnknown = [this](const KVChange& change) {
        return fKnownIds.count(change.fId) == 0;
    };
    changes.erase(std::remove_if(changes.begin(), changes.end(), isUnknown), changes.end());
    if (!changes.empty() && fCallbacks.fValuesChanged) {
        fCallbacks.fValuesChanged(changes);
    }
}

void SubscriptionClient::xTellEnd(const KVError& error) {
    if (fCallbacks.fEnded) {
        fCallbacks.fEnded(error);
    }
}

}  // namespace robaxi
