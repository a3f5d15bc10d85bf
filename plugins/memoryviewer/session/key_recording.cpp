#include "session/key_recording.h"

#include "recording/change_recorder.h"
#include "session/key_store.h"

#include <unordered_set>
#include <utility>

namespace memoryviewer {

KeyRecording::KeyRecording(KeyStore* keys, ChangeRecorder* recorder, QObject* parent)
    : QObject(parent), fKeys(keys), fRecorder(recorder) {
    connect(fKeys, &KeyStore::aboutToRemove, this, &KeyRecording::xOnKeysGoing);
    connect(fRecorder, &ChangeRecorder::finished, this, [this] {
        fHasBegun = false;
        fDescribed.clear();
        fUnknown.clear();
        fBegun.clear();
    });
}

KeyRecording::~KeyRecording() = default;

void KeyRecording::setKeys(const std::vector<std::uint32_t>& ids) {
    if (!std::exchange(fHasBegun, true)) {
        xBegin(ids);
    } else if (ids != fIds) {
        xMarkLeftOut(ids);
    }
    fIds = ids;
}

void KeyRecording::xBegin(const std::vector<std::uint32_t>& ids) {
    std::vector<RecordedChange> rows;
    for (const std::uint32_t id : ids) {
        const MemoryKey* key = fKeys->find(id);
        if (key != nullptr && key->hasValue() && fBegun.emplace(id, key->fTime).second) {
            rows.push_back({key->fTime, xDescribed(*key), key->fValue});
        }
    }
    fRecorder->record(std::move(rows));
}

/** Otherwise the last value would seem to hold. */
void KeyRecording::xMarkLeftOut(const std::vector<std::uint32_t>& ids) {
    const std::unordered_set<std::uint32_t> present(ids.begin(), ids.end());
    for (const std::uint32_t id : std::exchange(fIds, {})) {
        const auto described = fDescribed.find(id);
        if (present.count(id) == 0 && described != fDescribed.end()) {
            fRecorder->record({"key left out", described->second->fName, {described->second}});
            fDescribed.erase(described);
            fUnknown.erase(id);
        }
    }
}

void KeyRecording::beginGap(const char* event, const QString& text) {
    RecordedEvent gap{event, text.toStdString()};
    for (const auto& [id, key] : fDescribed) {
        if (fUnknown.insert(id).second) {
            gap.fKeys.push_back(key);
        }
    }
    fRecorder->record(std::move(gap));
}

void KeyRecording::endGap(const char* event) {
    fRecorder->record(RecordedEvent{event, {}});
}

void KeyRecording::repeatValues() {
    std::vector<RecordedChange> rows;
    const std::int64_t now = fKeys->clock().now();
    for (const std::uint32_t id : std::exchange(fUnknown, {})) {
        if (const MemoryKey* key = fKeys->find(id)) {
            rows.push_back({now, xDescribed(*key), key->fValue});
        }
    }
    fRecorder->record(std::move(rows));
}

void KeyRecording::append(const std::vector<KVChange>& changes) {
    if (!fRecorder->isRecording()) {
        return;
    }
    std::vector<RecordedChange> rows;
    rows.reserve(changes.size());
    for (const KVChange& change : changes) {
        const MemoryKey* key = fKeys->find(change.fId);
        fUnknown.erase(change.fId);
        if (key != nullptr && !xIsAtBeginning(change)) {
            rows.push_back({change.fTime, xDescribed(*key), change.fValue});
        }
    }
    fRecorder->record(std::move(rows));
}

void KeyRecording::end(MemoryPhase phase, const QString& refusal) {
    if (phase == MemoryPhase::Lost) {
        fRecorder->record(
            RecordedEvent{"lost", tr("The connection to the robot was lost.").toStdString()});
    }
    if (phase == MemoryPhase::Refused) {
        fRecorder->record(RecordedEvent{"values ended", refusal.toStdString()});
    }
    fRecorder->stop();
}

/** The robot sends the current value of a newly subscribed key. */
bool KeyRecording::xIsAtBeginning(const KVChange& change) {
    const auto begun = fBegun.find(change.fId);
    if (begun == fBegun.end()) {
        return false;
    }
    const bool isSame = begun->second == change.fTime;
    fBegun.erase(begun);
    return isSame;
}

const std::shared_ptr<const KVKeyInfo>& KeyRecording::xDescribed(const MemoryKey& key) {
    auto& described = fDescribed[key.fInfo.fId];
    if (!described) {
        described = std::make_shared<KVKeyInfo>(key.fInfo);
    }
    return described;
}

void KeyRecording::xOnKeysGoing(const std::vector<const MemoryKey*>& keys) {
    for (const MemoryKey* key : keys) {
        const auto described = fDescribed.find(key->fInfo.fId);
        if (described != fDescribed.end()) {
            fRecorder->record({"key removed", key->fInfo.fName, {described->second}});
            fDescribed.erase(described);
        }
        fUnknown.erase(key->fInfo.fId);
        fBegun.erase(key->fInfo.fId);
    }
}

}  // namespace memoryviewer
