#ifndef OBVISTA_MEMORYVIEWER_KEY_VALUE_SOURCE_H
#define OBVISTA_MEMORYVIEWER_KEY_VALUE_SOURCE_H

#include "editing/value_delegate.h"

namespace memoryviewer {

class KeyStore;
class WriteQueue;

/** The robot's values for the cells of any view of keys, and access for writing them. */
class KeyValueSource : public ValueSource {
  public:
    /** Both must outlive this object. */
    KeyValueSource(const KeyStore* keys, WriteQueue* writes);

    std::optional<KVValue> editableValue(const QModelIndex& index) const override;
    void enter(const QModelIndex& index, const KVValue& before, const KVValue& value) override;
    ValueLook look(const QModelIndex& index) const override;

  private:
    const KeyStore* fKeys;
    WriteQueue* fWrites;
};

}  // namespace memoryviewer

#endif
