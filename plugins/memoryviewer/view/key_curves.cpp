#include "view/key_curves.h"

#include "plots/plot_history.h"
#include "plots/plot_panel.h"
#include "session/key_store.h"

#include <obvista/viewer/value_text.h>
#include <robaxi/kv_number.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace memoryviewer {

namespace {

/** Microseconds for which a value is drawn as constant at the start of a curve. */
constexpr std::int64_t a_heldAtFirst = 1'000'000;

CurveShape shapeOf(const MemoryKey& key) {
    return key.type() == KVValue::Type::Float ? CurveShape::Line : CurveShape::Steps;
}

bool hasNumbers(const MemoryKey* key) {
    return key != nullptr &&
           (key->type() == KVValue::Type::Float || key->type() == KVValue::Type::Int ||
            key->type() == KVValue::Type::Bool);
}

}  // namespace

KeyCurves::KeyCurves(KeyStore* keys, PlotPanel* plots, QObject* parent)
    : QObject(parent), fKeys(keys), fPlots(plots) {
    fPlots->setKeyLookup([this](const QString& name) { return xLookup(name); });
    fPlots->setValueLookup([this](const QString& name) {
        const MemoryKey* key = fKeys->find(name.toStdString());
        return key != nullptr && key->hasValue() ? std::optional<double>(KV::numberOf(key->fValue))
                                                 : std::nullopt;
    });
    connect(fPlots, &PlotPanel::plottedKeysChanged, this, &KeyCurves::xOnPlottedKeysChanged);
    connect(fKeys, &KeyStore::added, this, &KeyCurves::xOnKeysAdded);
    connect(fKeys, &KeyStore::changed, this, &KeyCurves::xOnChanged);
    connect(fKeys, &KeyStore::aboutToRemove, this, &KeyCurves::xOnKeysGoing);
}

void KeyCurves::plot(const QStringList& names, Place place) {
    QStringList plottable;
    std::copy_if(names.begin(), names.end(), std::back_inserter(plottable),
                 [this](const QString& name) { return xLookup(name).has_value(); });
    fPlots->addCurves(plottable, place == Place::NewPlot);
}

/** Some may be restored, with the saved metadata. */
void KeyCurves::xOnPlottedKeysChanged() {
    for (const QString& name : fPlots->plottedKeys()) {
        if (const MemoryKey* key = fKeys->find(name.toStdString())) {
            xDescribe(*key);
        }
    }
}

void KeyCurves::xDescribe(const MemoryKey& key) {
    const QString name = QString::fromStdString(key.fInfo.fName);
    // A key of a replay has no value, and so no type, before its first one.
    if (fPlots->isPlotted(name) && hasNumbers(&key)) {
        fPlots->describeKey(name, obvista::plainText(key.fInfo.fUnit), shapeOf(key));
    }
}

void KeyCurves::begin(const std::vector<std::uint32_t>& ids) {
    std::vector<PlotSample> samples;
    for (const std::uint32_t id : ids) {
        const MemoryKey* key = fKeys->find(id);
        const int handle = xHandle(key);
        if (handle >= 0 && key->hasValue() && !fPlots->history().curve(handle).isGoingOn()) {
            samples.push_back(xSample(handle, key->fTime, key->fValue));
        }
    }
    fPlots->append(samples);
}

void KeyCurves::append(const std::vector<KVChange>& changes) {
    std::vector<PlotSample> samples;
    for (const KVChange& change : changes) {
        const int handle = xHandle(fKeys->find(change.fId));
        if (handle < 0) {
            continue;
        }
        if (xIsLate(handle, change.fTime)) {
            samples.push_back({handle, change.fTime, KV::numberOf(change.fValue)});
            fLate.insert(handle);
            continue;
        }
        if (fLate.erase(handle) != 0) {
            fPlots->append(std::exchange(samples, {}));
            fPlots->endCurve(handle);
        }
        samples.push_back(xSample(handle, change.fTime, change.fValue));
    }
    fPlots->append(samples);
}

void KeyCurves::beginSilence() {
    fSilentSince = fKeys->clock().now();
}

void KeyCurves::endSilence() {
    fSilentSince.reset();
    for (const int handle : std::exchange(fLate, {})) {
        fPlots->endCurve(handle);
    }
}

/** Returns true if the robot sent the value before it was silent, and the curve has ended already.
 */
bool KeyCurves::xIsLate(int handle, std::int64_t time) const {
    const CurveHistory& curve = fPlots->history().curve(handle);
    const bool hasEnded = !curve.isEmpty() && (!curve.isGoingOn() || fLate.count(handle) != 0);
    return hasEnded && fSilentSince && time < *fSilentSince && time >= curve.last().fTime;
}

/** Returns the handle of the curve that shows the key, -1 if none does. */
int KeyCurves::xHandle(const MemoryKey* key) const {
    const bool isShown = key != nullptr && key->fNewer == nullptr;
    return isShown ? fPlots->keyHandle(QString::fromStdString(key->fInfo.fName)) : -1;
}

/**
 * A curve starts, or continues after a gap, with the key's current value. The value may be hours
 * old, but the plots must not go back that far.
 */
PlotSample KeyCurves::xSample(int handle, std::int64_t time, const KVValue& value) const {
    const bool isBeginning = !fPlots->history().curve(handle).isGoingOn();
    const std::int64_t earliest = fKeys->clock().now() - a_heldAtFirst;
    return {handle, isBeginning ? std::max(time, earliest) : time, KV::numberOf(value)};
}

std::optional<PlottedKey> KeyCurves::xLookup(const QString& name) const {
    const MemoryKey* key = fKeys->find(name.toStdString());
    // A key of a replay that has no value yet may get numbers.
    const bool canHaveNumbers = hasNumbers(key) || (key != nullptr && fKeys->clock().isReplay() &&
                                                    key->type() == KVValue::Type::Nothing);
    return canHaveNumbers ? std::optional<PlottedKey>(
                                {name, obvista::plainText(key->fInfo.fUnit), shapeOf(*key)})
                          : std::nullopt;
}

void KeyCurves::xOnChanged(const std::vector<ChangedKey>& keys) {
    for (const ChangedKey& key : keys) {
        if (key.fHasOtherType && fKeys->clock().isReplay()) {
            xDescribe(*key.fKey);
        }
    }
}

void KeyCurves::xOnKeysAdded(const std::vector<const MemoryKey*>& keys) {
    for (const MemoryKey* key : keys) {
        xDescribe(*key);
    }
}

void KeyCurves::xOnKeysGoing(const std::vector<const MemoryKey*>& keys) {
    for (const MemoryKey* key : keys) {
        if (key->fNewer == nullptr) {
            fPlots->keyGone(QString::fromStdString(key->fInfo.fName));
        }
    }
}

}  // namespace memoryviewer
