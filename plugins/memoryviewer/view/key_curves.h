#ifndef OBVISTA_MEMORYVIEWER_KEY_CURVES_H
#define OBVISTA_MEMORYVIEWER_KEY_CURVES_H

#include <robaxi/kv_value_table.h>

#include <QObject>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <set>
#include <vector>

namespace memoryviewer {

class KeyStore;
class PlotPanel;
struct ChangedKey;
struct MemoryKey;
struct PlotSample;
struct PlottedKey;

/** Numeric keys as curves of the plots. Used on the GUI thread. */
class KeyCurves : public QObject {
    Q_OBJECT

  public:
    enum class Place { CurrentPlot, NewPlot };

    /** Both must outlive this object. */
    KeyCurves(KeyStore* keys, PlotPanel* plots, QObject* parent = nullptr);

    /** Plots numeric keys; see PlotPanel::addCurves(). */
    void plot(const QStringList& names, Place place);
    /**
     * Starts or continues the curves of keys whose values are known, and are not sent again before
     * they change.
     */
    void begin(const std::vector<std::uint32_t>& ids);
    /** Adds changes of the plotted keys. */
    void append(const std::vector<KVChange>& changes);
    /**
     * Call this when the robot does not answer and the curves have ended. Values that it sent
     * before, and that arrive later, are then drawn at their times, and the gap follows them.
     */
    void beginSilence();
    /** Call this when what has changed during the silence has arrived. */
    void endSilence();

  private:
    std::optional<PlottedKey> xLookup(const QString& name) const;
    void xDescribe(const MemoryKey& key);
    int xHandle(const MemoryKey* key) const;
    bool xIsLate(int handle, std::int64_t time) const;
    PlotSample xSample(int handle, std::int64_t time, const KVValue& value) const;
    void xOnPlottedKeysChanged();
    void xOnKeysAdded(const std::vector<const MemoryKey*>& keys);
    void xOnChanged(const std::vector<ChangedKey>& keys);
    void xOnKeysGoing(const std::vector<const MemoryKey*>& keys);

    KeyStore* fKeys;
    PlotPanel* fPlots;
    std::optional<std::int64_t> fSilentSince;  // by the robot's clock
    std::set<int> fLate;                       // handles of curves that end with a late value
};

}  // namespace memoryviewer

#endif
