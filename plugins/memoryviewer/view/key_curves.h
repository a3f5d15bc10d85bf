#ifndef OBVISTA_MEMORYVIEWER_KEY_CURVES_H
#define OBVISTA_MEMORYVIEWER_KEY_CURVES_H

#include <robaxi/kv_value_table.h>

#include <QObject>
#include <QStringList>

#include <cstdint>
#include <optional>
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

  private:
    std::optional<PlottedKey> xLookup(const QString& name) const;
    void xDescribe(const MemoryKey& key);
    bool xIsGoingOn(const MemoryKey& key) const;
    void xAddSample(std::vector<PlotSample>& samples, const MemoryKey& key, std::int64_t time,
                    const KVValue& value) const;
    void xOnPlottedKeysChanged();
    void xOnKeysAdded(const std::vector<const MemoryKey*>& keys);
    void xOnChanged(const std::vector<ChangedKey>& keys);
    void xOnKeysGoing(const std::vector<const MemoryKey*>& keys);

    KeyStore* fKeys;
    PlotPanel* fPlots;
};

}  // namespace memoryviewer

#endif
