#include "client/subscription_client.h"

#include "wire/batch_codec.h"
#include "wire/message_codec.h"

#include <base/safe_text.h>

#include <algorithm>
#include <iterator>
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
    {
        const std::lock_guard lock(fMutex);
        fSelectsAll = allKeys;
        fRate = rate;
    }
    xStart();
}

void SubscriptionClient::xOpen(ClientTransport& transport, grpc::ClientContext* context) {
    transport.stub().async()->Subscribe(context, this);
    // Before locking: a lost link calls this object with its own lock held.
    v1::SubscriptionRequest request = xFirstRequest(transport);
    const std::lock_guard lock(fMutex);
    request.mutable_start()->set_all_keys(fSelectsAll);
    request.mutable_start()->set_rate(fRate);
    if (fSelected) {
        for (const auto& [id, hasValue] : *fSelected) {
            request.mutable_keys()->add_ids(id);
            if (hasValue && request.start().has_known()) {
                request.mutable_start()->mutable_known()->add_with_values(id);
            }
        }
    }
    fNextRequest = std::move(request);
}

v1::SubscriptionRequest SubscriptionClient::xFirstRequest(ClientTransport& transport) {
    v1::SubscriptionRequest request;
    v1::SubscriptionStart* start = request.mutable_start();
    start->set_session_id(fSession->sessionId());
    start->set_resumption(transport.resumption());
    start->set_module(base::validUtf8(fTarget.fModule));
    if (fHasTable) {
        v1::KnownState* known = start->mutable_known();
        known->set_position(fPosition);
        known->set_last_key(fLastKey);
        known->set_keys(fAnnouncedKeys);
        known->set_table(fTable);
    }
    return request;
}

void SubscriptionClient::setKeys(const std::vector<std::uint32_t>& ids) {
    if (fNames.empty()) {
        xSelect(ids);
    }
}

void SubscriptionClient::xSelect(const std::vector<std::uint32_t>& ids) {
    {
        const std::lock_guard lock(fMutex);
        std::unordered_map<std::uint32_t, bool> selected;
        for (const std::uint32_t id : ids) {
            const bool hasValue = fSelected && fSelected->count(id) != 0 && fSelected->at(id);
            selected.emplace(id, hasValue);
        }
        fSelected = std::move(selected);
        v1::KeySelection* keys = xNextRequest().mutable_keys();
        keys->mutable_ids()->Assign(ids.begin(), ids.end());
    }
    xWrite();
}

void SubscriptionClient::setRate(double rate) {
    {
        const std::lock_guard lock(fMutex);
        fRate = rate;
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
    fPosition = fUpdate.position();
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
        case v1::SubscriptionUpdate::kKeysPresent:
            xKeepPresentKeys(fUpdate.keys_present());
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
    fHasTable = true;
    fTable = message.table();
    for (const v1::Key& key : message.keys()) {
        fLastKey = std::max(fLastKey, key.id());
        ++fAnnouncedKeys;
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
    const auto count = static_cast<std::uint64_t>(message.ids_size());
    fAnnouncedKeys -= std::min(fAnnouncedKeys, count);
    xTellRemoved({message.ids().begin(), message.ids().end()});
}

/** Removes the keys that the robot has removed while it was silent, all with another table. */
void SubscriptionClient::xKeepPresentKeys(const v1::KeySelection& message) {
    fAnnouncedKeys = static_cast<std::uint64_t>(message.ids_size());
    const std::unordered_set<std::uint32_t> present(message.ids().begin(), message.ids().end());
    fLastKey = present.empty() ? 0 : *std::max_element(present.begin(), present.end());
    std::vector<std::uint32_t> removed;
    std::copy_if(fKnownIds.begin(), fKnownIds.end(), std::back_inserter(removed),
                 [&present](std::uint32_t id) { return present.count(id) == 0; });
    xTellRemoved(removed);
}

void SubscriptionClient::xTellRemoved(const std::vector<std::uint32_t>& ids) {
    std::vector<std::uint32_t> removed;
    for (const std::uint32_t id : ids) {
        if (fKnownIds.erase(id) != 0) {
            removed.push_back(id);
        }
    }
    {
        const std::lock_guard lock(fMutex);
        for (const std::uint32_t id : removed) {
            if (fSelected) {
                fSelected->erase(id);  // another table may have another key of that identifier
            }
        }
    }
    if (!removed.empty() && fCallbacks.fKeysRemoved) {
        fCallbacks.fKeysRemoved(removed);
    }
}

void SubscriptionClient::xChangeValues(const v1::Values& message) {
    std::vector<KVChange> changes = decodeBatch(message, fLimits.fDepth);
    const auto isUnknown = [this](const KVChange& change) {
        return fKnownIds.count(change.fId) == 0;
    };
    changes.erase(std::remove_if(changes.begin(), changes.end(), isUnknown), changes.end());
    xMarkValues(changes);
    if (message.passed_over() != 0 && fCallbacks.fValuesPassedOver) {
        fCallbacks.fValuesPassedOver(message.passed_over());
    }
    if (!changes.empty() && fCallbacks.fValuesChanged) {
        fCallbacks.fValuesChanged(changes);
    }
}

/** Marks the selected keys of which a value has been received. */
void SubscriptionClient::xMarkValues(const std::vector<KVChange>& changes) {
    const std::lock_guard lock(fMutex);
    if (!fSelected) {
        return;
    }
    for (const KVChange& change : changes) {
        const auto found = fSelected->find(change.fId);
        if (found != fSelected->end()) {
            found->second = true;
        }
    }
}

void SubscriptionClient::xTellEnd(const KVError& error) {
    if (fCallbacks.fEnded) {
        fCallbacks.fEnded(error);
    }
}

}  // namespace robaxi
