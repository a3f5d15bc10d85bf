#ifndef OBVISTA_MEMORYVIEWER_KEY_RECORDING_H
#define OBVISTA_MEMORYVIEWER_KEY_RECORDING_H

#include "session/memory_situation.h"

#include <robaxi/kv_value_table.h>

#include <QObject>

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace memoryviewer {

class ChangeRecorder;
class KeyStore;
struct MemoryKey;

/** Passes changes of keys to a recording. Used on the GUI thread. */
class KeyRecording : public QObject {
    Q_OBJECT

  public:
    /** Both must outlive this object. */
    KeyRecording(KeyStore* keys, ChangeRecorder* recorder, QObject* parent = nullptr);
    ~KeyRecording() override;

    /**
     * Sets the recorded keys, of which an identifier may be given twice. A recording starts with
     * their current values, so that it includes those that never change. A key that is left out
     * later is marked.
     */
    void setKeys(const std::vector<std::uint32_t>& ids);
    /** Does nothing without a recording. */
    void append(const std::vector<KVChange>& changes);
    /**
     * Marks that no values are received from now on. A gap that follows another one without values
     * between them is marked by its event only.
     *
     * @param event as in the recordings of robaxi
     */
    void beginGap(const char* event, const QString& text);
    /** Marks that values may follow. */
    void endGap(const char* event);
    /** Adds the values of the keys that have not changed since a gap, since they are known again.
     */
    void repeatValues();
    /** Ends a recording because the session is over. */
    void end(MemoryPhase phase, const QString& refusal);

  private:
    void xBegin(const std::vector<std::uint32_t>& ids);
    void xMarkLeftOut(const std::vector<std::uint32_t>& ids);
    bool xIsAtBeginning(const KVChange& change);
    const std::shared_ptr<const KVKeyInfo>& xDescribed(const MemoryKey& key);
    void xOnKeysGoing(const std::vector<const MemoryKey*>& keys);

    KeyStore* fKeys;
    ChangeRecorder* fRecorder;
    bool fHasBegun = false;
    std::vector<std::uint32_t> fIds;
    std::unordered_map<std::uint32_t, std::shared_ptr<const KVKeyInfo>> fDescribed;
    std::unordered_set<std::uint32_t> fUnknown;              // keys in a gap
    std::unordered_map<std::uint32_t, std::int64_t> fBegun;  // times of the values at the start
};

}  // namespace memoryviewer

#endif
