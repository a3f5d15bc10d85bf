#ifndef OBVISTA_MEMORYVIEWER_KEY_RECORDING_H
#define OBVISTA_MEMORYVIEWER_KEY_RECORDING_H

#include <robaxi/kv_value_table.h>

#include <QObject>

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

namespace memoryviewer {

class CsvRecorder;
class KeyStore;
struct MemoryKey;
struct RecordedKey;

/** Changes of keys, on their way into a recording. Used on the GUI thread. */
class KeyRecording : public QObject {
    Q_OBJECT

  public:
    /** Both outlive this. */
    KeyRecording(KeyStore* keys, CsvRecorder* recorder, QObject* parent = nullptr);
    ~KeyRecording() override;

    /** Begins a recording with the values that these keys have, so that those that never change are
     *  in it too. */
    void begin(const std::vector<std::uint32_t>& ids);
    /** Nothing while no recording runs. */
    void append(const std::vector<KVChange>& changes);

  private:
    bool xIsAtBeginning(const KVChange& change);
    const std::shared_ptr<const RecordedKey>& xDescribed(const MemoryKey& key);
    void xOnKeysGoing(const std::vector<const MemoryKey*>& keys);

    KeyStore* fKeys;
    CsvRecorder* fRecorder;
    std::unordered_map<std::uint32_t, std::shared_ptr<const RecordedKey>> fDescribed;
    std::unordered_map<std::uint32_t, std::int64_t> fBegun;  // times of the values at the beginning
};

}  // namespace memoryviewer

#endif
