#include "model/key_value_source.h"

#include "editing/write_queue.h"
#include "model/key_cells.h"
#include "model/value_text.h"
#include "session/key_store.h"

namespace memoryviewer {

namespace {

/** Milliseconds for which the answer to a write is seen. */
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

}  // namespace

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
        fWrites->write({key->fInfo.fId, key->fInfo.fName}, before, value);
    }
}

ValueMark KeyValueSource::mark(const QModelIndex& index) const {
    const MemoryKey* key = index.column() == ValueColumn ? xKey(index) : nullptr;
    if (key == nullptr) {
        return ValueMark::None;
    }
    const std::optional<WriteState> write = fWrites->state(key->fInfo.fId);
    const ValueMark mark = write ? markOf(*write) : ValueMark::None;
    const bool isMarked = mark == ValueMark::None && fKeys->isMarked(*key);
    return isMarked ? ValueMark::Changed : mark;
}

std::optional<QString> KeyValueSource::writtenText(const QModelIndex& index) const {
    const MemoryKey* key = index.column() == ValueColumn ? xKey(index) : nullptr;
    const auto write = key != nullptr ? fWrites->state(key->fInfo.fId) : std::nullopt;
    if (!write) {
        return {};
    }
    const ValueMark mark = markOf(*write);
    // The robot says that it has taken a value over before it sends it.
    const bool isAwaited = mark == ValueMark::Accepted && key->fValue == write->fBefore;
    return mark == ValueMark::Pending || isAwaited
               ? std::optional<QString>(valueText(write->fValue))
               : std::nullopt;
}

const MemoryKey* KeyValueSource::xKey(const QModelIndex& index) const {
    const QVariant id = index.data(KeyIdRole);
    return id.isValid() ? fKeys->find(id.toUInt()) : nullptr;
}

}  // namespace memoryviewer
