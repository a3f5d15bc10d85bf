#include "server/subscription_server.h"

#include <base/time.h>

#include <algorithm>
#include <utility>

namespace robaxi {

namespace {

using Clock = TimerThread::Clock;

constexpr double a_longestPeriod = 86400;  // seconds

bool isRate(double rate) {
    return rate > 0 && rate <= limits::a_highestRate;
}

}  // namespace

SubscriptionServer::SubscriptionServer(Server& server, grpc::CallbackServerContext* context)
    : ServerStream(server, context) {
}

SubscriptionServer::~SubscriptionServer() = default;

void SubscriptionServer::OnWriteDone(bool ok) {
    const GrpcReaction reaction(this);
    takeFromGrpc(&fUpdate);
    if (fGate.leave()) {
        xFinishWhen(true);
    } else if (!ok) {
        xFinishWhen(fGate.close());
    } else {
        xWake();
    }
}

void SubscriptionServer::xLeave() {
    if (fTable) {
        fTable->removeObserver(this);
    }
}

void SubscriptionServer::xHandle() {
    if (fRequest.has_start()) {
        xStartSubscription(fRequest.start());
    }
    if (fRequest.has_rate()) {
        xSetRate(fRequest.rate());
    }
    const std::lock_guard lock(fMutex);
    if (fRequest.has_keys()) {
        fNewChoice.emplace(fRequest.keys().ids().begin(), fRequest.keys().ids().end());
    }
    fConsumed = std::max(fConsumed, fRequest.consumed());
}

void SubscriptionServer::xStartSubscription(const v1::SubscriptionStart& start) {
    if (fTable) {
        xEnd(KVError::Cause::InvalidArgument, "a subscription was started twice");
        return;
    }
    const auto module = xJoin(start);
    if (!module) {
        return;
    }
    const auto values = module->getValues();
    if (!values) {
        xEnd(KVError::Cause::InvalidArgument, "the module has no values to subscribe to");
        return;
    }
    xSetRate(start.rate());
    if (start.has_known() && start.known().table() == values->getPrivate()->fId) {
        xContinue(start.known(), *values->getPrivate());
    } else if (start.has_known()) {
        fHasOtherTable = true;
        fRequest.clear_keys();  // identifiers of the table that the client knows
    }
    {
        const std::lock_guard lock(values->getPrivate()->fMutex);
        fCountedFrom = fSeenVersion != 0 ? fSeenVersion : values->getPrivate()->fLastVersion;
    }
    {
        const std::lock_guard lock(fMutex);
        fSendsAllKeys = start.all_keys();
        fTable = values->getPrivate();
    }
    fTable->addObserver(this);
}

/** Continues where the client has lost an earlier stream; before anything is sent. */
void SubscriptionServer::xContinue(const v1::KnownState& known, Table& table) {
    const std::lock_guard lock(table.fMutex);
    fHasSentTable = true;
    fLastAnnounced = known.last_key();
    fSeenVersion = known.position() <= table.fLastVersion ? known.position() : 0;
    for (const std::uint32_t id : known.with_values()) {
        if (id <= fLastAnnounced && table.find(id) != nullptr) {
            fChosen[id] = {fSeenVersion, std::nullopt};
        }
    }
    fKnownKeys = known.keys();
}

bool SubscriptionServer::xComposePresentKeys() {
    if (std::exchange(fHasOtherTable, false)) {
        fNext.mutable_keys_present();  // none of those that the client knows
        return true;
    }
    const std::size_t count = fTable->indexAbove(fLastAnnounced);
    if (!fKnownKeys || std::exchange(fKnownKeys, std::nullopt) == count) {
        return false;
    }
    auto* ids = fNext.mutable_keys_present()->mutable_ids();
    ids->Assign(fTable->fIds.begin(), fTable->fIds.begin() + static_cast<std::ptrdiff_t>(count));
    return true;
}

void SubscriptionServer::xSetRate(double rate) {
    if (!isRate(rate)) {
        xEnd(KVError::Cause::InvalidArgument, "a rate is above 0 to 1000 updates a second");
        return;
    }
    // The clock cannot represent the period of every rate.
    const double seconds = std::min(1 / rate, a_longestPeriod);
    const std::lock_guard lock(fMutex);
    fPeriod = base::steadyDuration(seconds);
}

void SubscriptionServer::valuesChanged() {
    if (!fIsAwake.exchange(true)) {
        fPump.startAt(fWakeForValues);
    }
}

void SubscriptionServer::keyAdded() {
    xWake();
}

void SubscriptionServer::keyRemoved(std::uint32_t id) {
    if (id <= fLastAnnounced) {
        fRemoved.push_back(id);
        xWake();
    }
}

void SubscriptionServer::xPump() {
    fIsAwake = false;
    if (xEndsNow()) {
        return;
    }
    if (!xMaySend()) {
        fIsAwake = true;  // the end of the write, or the client's answer, wakes the pump
        return;
    }
    if (xCompose()) {
        fIsAwake = true;
        fNext.set_number(++fSent);
        fUpdate = writeMessage(fNext);
        xStartWrite();
    } else {
        xFinishWhen(fGate.leave());
    }
}

bool SubscriptionServer::xMaySend() {
    const std::lock_guard lock(fMutex);
    return fTable && fSent < fConsumed + limits::a_updatesInFlight && fGate.enter();
}

bool SubscriptionServer::xCompose() {
    fNext.Clear();
    Clock::duration period{};
    std::optional<std::vector<std::uint32_t>> choice;
    {
        const std::lock_guard lock(fMutex);
        period = fPeriod;
        choice.swap(fNewChoice);
    }
    const std::lock_guard lock(fTable->fMutex);
    if (choice && !fSendsAllKeys) {
        xChoose(*choice);
    }
    const bool hasNews = xComposePresentKeys() || xComposeRemovedKeys() || xComposeAddedKeys() ||
                         xComposeDueValues(period);
    fNext.set_position(fSeenVersion);
    return hasNews;
}

bool SubscriptionServer::xComposeDueValues(Clock::duration period) {
    const auto now = Clock::now();
    const auto due = fLastBatch + period;
    if (fHasMore || now >= due) {
        const bool isNextPart = fHasMore;
        if (xComposeValues(false)) {
            if (!isNextPart) {
                // Aligned to the rate, unless it was quiet for longer than a period.
                fLastBatch = now - due < period ? due : now;
            }
            fWakeForValues = fLastBatch + period;
            return true;
        }
        if (!isNextPart) {
            fWakeForValues = now;
            return false;
        }
        // Keys of earlier parts may have changed since.
    }
    if (fHasNewlyChosen && xComposeValues(true)) {
        return true;
    }
    fWakeForValues = due;
    if (fTable->fLastVersion > fSeenVersion) {
        fIsAwake = true;
        fPump.startAt(due);
    }
    return false;
}

void SubscriptionServer::xChoose(const std::vector<std::uint32_t>& ids) {
    std::map<std::uint32_t, LastSent> chosen;
    for (const std::uint32_t id : ids) {
        const auto before = fChosen.find(id);
        if (before != fChosen.end()) {
            chosen.insert(*before);
        } else if (fTable->find(id) != nullptr) {
            chosen.emplace(id, LastSent());
            fHasNewlyChosen = true;
        }
    }
    fChosen.swap(chosen);
    fNextChosen = 0;  // newly chosen keys are in this update, too
}

bool SubscriptionServer::xComposeRemovedKeys() {
    if (fRemoved.empty()) {
        return false;
    }
    v1::KeySelection* removed = fNext.mutable_keys_removed();
    for (const std::uint32_t id : fRemoved) {
        removed->add_ids(id);
        fChosen.erase(id);
    }
    fRemoved.clear();
    return true;
}

bool SubscriptionServer::xComposeAddedKeys() {
    std::size_t index = fTable->indexAbove(fLastAnnounced);
    if (index == fTable->fIds.size() && fHasSentTable) {
        return false;
    }
    v1::KeysAdded* added = fNext.mutable_keys_added();
    added->set_table(fTable->fId);
    std::size_t size = 0;
    for (; index < fTable->fIds.size() && size < limits::bytesOfUpdate(fServer.limits().fMessage);
         ++index) {
        v1::Key* key = added->add_keys();
        encodeKey(fTable->fPositions[index]->fInfo, key);
        fLastAnnounced = key->id();
        size += key->ByteSizeLong();
    }
    fHasSentTable = true;
    return true;
}

bool SubscriptionServer::xComposeValues(bool onlyNewlyChosen) {
    BatchEncoder batch(fNext.mutable_values(), fServer.limits());
    const bool isComplete = fSendsAllKeys ? xPackAll(batch) : xPackChosen(batch, onlyNewlyChosen);
    if (onlyNewlyChosen) {
        fHasNewlyChosen = !isComplete;
    } else {
        fHasMore = !isComplete;
    }
    if (isComplete && !onlyNewlyChosen) {
        fSeenVersion = fVersionAtStart;
        fHasNewlyChosen = false;
    }
    batch.finish();
    if (batch.isEmpty()) {
        return false;
    }
    fNext.mutable_values()->set_passed_over(std::exchange(fPassedOver, 0));
    return true;
}

/**
 * Packs new values in the order of their changes. The keys of an update that needs several parts
 * are collected with the first one, so that keys that change all the time leave room for the
 * others.
 *
 * @return true if the update is complete
 */
bool SubscriptionServer::xPackAll(BatchEncoder& batch) {
    if (fCollected.empty()) {
        xCollect();
    }
    for (; fNextCollected < fCollected.size() && !batch.isFull(); ++fNextCollected) {
        const std::uint32_t id = fCollected[fNextCollected];
        const Table::Entry* entry = fTable->find(id);
        if (entry == nullptr) {
            continue;  // removed between two parts
        }
        batch.add(id, entry->fValue, entry->fTime);
        if (entry->fVersion > fVersionAtStart) {
            fSentAhead.emplace(id, entry->fVersion);
        } else if (entry->fVersion > fCountedFrom) {
            ++fSentOfUpdate;
        }
    }
    if (fNextCollected < fCollected.size()) {
        return false;
    }
    fCollected.clear();
    // Each change has its version.
    fPassedOver += fVersionAtStart - std::max(fSeenVersion, fCountedFrom) - fSentOfUpdate;
    return true;
}

/** Collects the keys that have changed since the last update, except those it sent ahead. */
void SubscriptionServer::xCollect() {
    fVersionAtStart = fTable->fLastVersion;
    fNextCollected = 0;
    for (auto entry = fTable->firstAfter(fSeenVersion); entry != fTable->fEntries.end(); ++entry) {
        const auto sent = fSentAhead.find(entry->fInfo.fId);
        if (sent == fSentAhead.end() || sent->second != entry->fVersion) {
            fCollected.push_back(entry->fInfo.fId);
        }
    }
    fSentOfUpdate = fSentAhead.size();
    fSentAhead.clear();
}

/**
 * Packs new values of the chosen keys. Each part continues behind the one before, so that keys that
 * change all the time leave room for the others.
 *
 * @return true if the update is complete
 */
bool SubscriptionServer::xPackChosen(BatchEncoder& batch, bool onlyNewlyChosen) {
    if (fNextChosen == 0) {
        fVersionAtStart = fTable->fLastVersion;
    }
    std::uint32_t last = 0;
    for (auto chosen = fChosen.lower_bound(fNextChosen); chosen != fChosen.end() && !batch.isFull();
         ++chosen) {
        auto& [id, sent] = *chosen;
        last = id;
        const Table::Entry* entry = fTable->find(id);
        if (entry != nullptr && entry->fVersion > sent.fVersion &&
            !(onlyNewlyChosen && sent.fVersion != 0)) {
            batch.add(id, entry->fValue, entry->fTime);
            if (sent.fChanges) {
                fPassedOver += entry->fChanges - *sent.fChanges - 1;
            }
            sent = {entry->fVersion, entry->fChanges};
        }
    }
    fNextChosen = batch.isFull() && !onlyNewlyChosen ? last + 1 : 0;
    return !batch.isFull();
}

}  // namespace robaxi
