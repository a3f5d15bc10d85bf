#include "key_value_source.h"

#include "arrangement.h"
#include "key_text.h"

#include <write_queue.h>

namespace memoryviewer {

KeyValueSource::KeyValueSource(const KeyStore* keys, WriteQueue* writes)
    : fKeys(keys), fWrites(writes) {
}

std::optional<KVValue> KeyValueSource::editableValue(const QModelIndex& index) const {
    const MemoryKey* key = xKey(index);
    const bool isEditable =
        key != nullptr && (keyCellFlags(*key, index.column()) & Qt::ItemIsEditable) != 0;
    return isEditable ? std::optional<KVValue>(key->fValue) : std::nullopt;
}

void KeyValueSource::enter(const QModelIndex& index, const KVValue& before, const KVValue& value) {
    if (const MemoryKey* key = xKey(index)) {
        fWrites->write(key->fInfo.fName, before, value);
    }
}

ValueMark KeyValueSource::mark(const QModelIndex& index) const {
    const MemoryKey* key = index.column() == ValueColumn ? xKey(index) : nullptr;
    if (key == nullptr) {
        return ValueMark::None;
    }
    const std::optional<WriteState> write = fWrites->state(key->fInfo.fName);
    if (write && write->fPhase == WriteState::Phase::Pending) {
        return ValueMark::Pending;
    }
    if (write && write->fPhase == WriteState::Phase::Refused) {
        return ValueMark::Refused;
    }
    return fKeys->isMarked(*key) ? ValueMark::Changed : ValueMark::None;
}

const MemoryKey* KeyValueSource::xKey(const QModelIndex& index) const {
    const QVariant name = index.data(KeyNameRole);
    return name.isValid() ? fKeys->find(name.toString().toStdString()) : nullptr;
}

}  // namespace memoryviewer
