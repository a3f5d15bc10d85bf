#include "key_recording.h"

#include "key_store.h"

#include <csv_recorder.h>
#include <utility>

namespace memoryviewer {

KeyRecording::KeyRecording(KeyStore* keys, CsvRecorder* recorder, QObject* parent)
    : QObject(parent), fKeys(keys), fRecorder(recorder) {
    connect(fKeys, &KeyStore::aboutToRemove, this, &KeyRecording::xOnKeysGoing);
    connect(fRecorder, &CsvRecorder::finished, this, [this] { fDescribed.clear(); });
}

KeyRecording::~KeyRecording() = default;

void KeyRecording::append(const std::vector<KVChange>& changes) {
    if (!fRecorder->isRecording()) {
        return;
    }
    std::vector<RecordedChange> rows;
    rows.reserve(changes.size());
    for (const KVChange& change : changes) {
        if (const MemoryKey* key = fKeys->find(change.fId)) {
            rows.push_back({change.fTime, xDescribed(*key), change.fValue});
        }
    }
    fRecorder->record(std::move(rows));
}

const std::shared_ptr<const RecordedKey>& KeyRecording::xDescribed(const MemoryKey& key) {
    auto& described = fDescribed[key.fInfo.fId];
    if (!described) {
        described = std::make_shared<RecordedKey>(RecordedKey{key.fInfo.fName, key.fInfo.fUnit});
    }
    return described;
}

void KeyRecording::xOnKeysGoing(const std::vector<const MemoryKey*>& keys) {
    for (const MemoryKey* key : keys) {
        fDescribed.erase(key->fInfo.fId);
    }
}

}  // namespace memoryviewer
