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

    /** Nothing while no recording runs. */
    void append(const std::vector<KVChange>& changes);

  private:
    const std::shared_ptr<const RecordedKey>& xDescribed(const MemoryKey& key);
    void xOnKeysGoing(const std::vector<const MemoryKey*>& keys);

    KeyStore* fKeys;
    CsvRecorder* fRecorder;
    std::unordered_map<std::uint32_t, std::shared_ptr<const RecordedKey>> fDescribed;
};

}  // namespace memoryviewer

#endif
