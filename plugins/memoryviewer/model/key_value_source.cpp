#include "model/key_value_source.h"

#include "editing/write_queue.h"
#include "model/key_cells.h"
#include "session/key_store.h"

#include <obvista/viewer/value_text.h>

namespace memoryviewer {

namespace {

/** Milliseconds for which the answer to a write is shown. */
constexpr int a_acceptedTime = 2000;
constexpr int a_refusedTime = 10000;

ValueMark markOf(const WriteState& write) {
    switch (write.fPhase) {
        case WriteState::Phase::Pending:
            return ValueMark::Pending;
        case WriteState::Phase::Accepted:
            return write.fSinceAnswer.hasExpired(a_acceptedTime) ? ValueMark::None
                                                                 : ValueMark::Accepted;
        case WriteState::Phase::Refused:
            return write.fSinceAnswer.hasExpired(a_refusedTime) ? ValueMark::None
                                                                : ValueMark::Refused;
    }
    return ValueMark::None;
}

const MemoryKey* keyOf(const QModelIndex& index) {
    return index.data(KeyRole).value<const MemoryKey*>();
}

}  // namespace

KeyValueSource::KeyValueSource(const KeyStore* keys, WriteQueue* writes)
    : fKeys(keys), fWrites(writes) {
}

std::optional<KVValue> KeyValueSource::editableValue(const QModelIndex& index) const {
    const MemoryKey* key = keyOf(index);
    const bool isEditable =
        key != nullptr && (keyCellFlags(*key, index.column()) & Qt::ItemIsEditable) != 0;
    return isEditable ? std::optional<KVValue>(key->fValue) : std::nullopt;
}

void KeyValueSource::enter(const QModelIndex& index, const KVValue& before, const KVValue& value) {
    if (const MemoryKey* key = keyOf(index)) {
        fWrites->write({key->fInfo.fId, key->fInfo.fName}, before, value);
    }
}

ValueLook KeyValueSource::look(const QModelIndex& index) const {
    const MemoryKey* key = index.column() == ValueColumn ? keyOf(index) : nullptr;
    if (key == nullptr) {
        return {};
    }
    const WriteState* write = fWrites->state(key->fInfo.fId);
    const ValueMark mark = write != nullptr ? markOf(*write) : ValueMark::None;
    if (mark == ValueMark::None) {
        return {fKeys->isMarked(*key) ? ValueMark::Changed : ValueMark::None, {}};
    }
    // The robot confirms a write before it sends the new value.
    const bool isAwaited = mark == ValueMark::Accepted && key->fValue == write->fBefore;
    return mark == ValueMark::Pending || isAwaited
               ? ValueLook{mark, obvista::valueText(write->fValue)}
               : ValueLook{mark, {}};
}

}  // namespace memoryviewer
