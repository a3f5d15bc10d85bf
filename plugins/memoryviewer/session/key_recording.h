#ifndef OBVISTA_MEMORYVIEWER_KEY_RECORDING_H
#define OBVISTA_MEMORYVIEWER_KEY_RECORDING_H

#include <robaxi/kv_value_table.h>

#include <QObject>

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

namespace memoryviewer {

class ChangeRecorder;
class KeyStore;
struct MemoryKey;
struct RecordedKey;

/** Passes changes of keys to a recording. Used on the GUI thread. */
class KeyRecording : public QObject {
    Q_OBJECT

  public:
    /** Both must outlive this object. */
    KeyRecording(KeyStore* keys, ChangeRecorder* recorder, QObject* parent = nullptr);
    ~KeyRecording() override;

    /**
     * Starts a recording with the current values of these keys, so that it includes those that
     * never change. Does nothing if the recording has already been started with values; an
     * identifier may be given twice.
     */
    void begin(const std::vector<std::uint32_t>& ids);
    /** Does nothing without a recording. */
    void append(const std::vector<KVChange>& changes);

  private:
    bool xIsAtBeginning(const KVChange& change);
    const std::shared_ptr<const RecordedKey>& xDescribed(const MemoryKey& key);
    void xOnKeysGoing(const std::vector<const MemoryKey*>& keys);

    KeyStore* fKeys;
    ChangeRecorder* fRecorder;
    bool fHasBegun = false;
    std::unordered_map<std::uint32_t, std::shared_ptr<const RecordedKey>> fDescribed;
    std::unordered_map<std::uint32_t, std::int64_t> fBegun;  // times of the values at the start
};

}  // namespace memoryviewer

#endif
