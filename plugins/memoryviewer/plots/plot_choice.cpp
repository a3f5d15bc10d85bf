#include "plots/plot_choice.h"

#include "plots/curve_colours.h"
#include "plots/curve_legend.h"
#include "plots/plot_history.h"
#include "plots/plot_stack.h"
#include "plots/plot_view.h"

#include <obvista/viewer/plain_text.h>

#include <algorithm>
#include <map>
#include <utility>

namespace memoryviewer {

PlotChoice::PlotChoice(PlotStack* plots, PlotHistory* history, QObject* parent)
    : QObject(parent), fPlots(plots), fHistory(history) {
    connect(plots, &PlotStack::paletteChanged, this, &PlotChoice::xApplyPens);
}

std::vector<LegendEntry> PlotChoice::entriesOf(const PlotView& plot) const {
    std::vector<LegendEntry> entries;
    for (const int key : plot.keys()) {
        const PlottedKey& description = fKeys.at(key);
        entries.push_back({key, description.fName, description.fUnit, plot.penOf(key)});
    }
    return entries;
}

/** Changes the selection and updates everything that depends on it. */
void PlotChoice::xChange(const std::function<void()>& change) {
    const QStringList before = fKeys.names();
    change();
    xForgetUnplotted();
    Q_EMIT changed();
    if (fKeys.names() != before) {
        Q_EMIT keysChanged();
    }
}

bool PlotChoice::addKey(const QString& name, const QString& unit, CurveShape shape,
                        std::size_t plot) {
    bool isPlotted = false;
    xChange([&] {
        const int key = xKeyFor(name, unit, shape);
        if (key < 0) {
            Q_EMIT said(
                tr("No more than %n keys are plotted at a time.", nullptr, PlottedKeys::a_most));
        } else if (plot < fPlots->size() || xAddPlot()) {
            xApplyPen(fPlots->plot(std::min(plot, fPlots->size() - 1)), key);
            isPlotted = true;
        }
    });
    return isPlotted;
}

/**
 * @return the handle of a key, which is added if it is not plotted yet; -1 if there are too many
 */
int PlotChoice::xKeyFor(const QString& name, const QString& unit, CurveShape shape) {
    const int known = fKeys.find(name);
    if (known >= 0 || fKeys.isFull()) {
        return known;
    }
    const int key = fKeys.add(name, unit, shape);
    fHistory->add(key);
    return key;
}

void PlotChoice::xApplyPen(PlotView& plot, int key) {
    const PlottedKey& description = fKeys.at(key);
    plot.setCurve(key, description.fShape, curvePen(description.fColour, fPlots->palette()));
}

/** Called for new metadata of keys, or another palette. */
void PlotChoice::xApplyPens() {
    for (PlotView* plot : fPlots->plots()) {
        for (const int key : std::vector<int>(plot->keys())) {
            xApplyPen(*plot, key);
        }
    }
    Q_EMIT changed();
}

void PlotChoice::addPlot() {
    xChange([this] { xAddPlot(); });
}

/** Called in xChange(). @return true if there is a new plot */
bool PlotChoice::xAddPlot() {
    if (fPlots->isFull()) {
        Q_EMIT said(tr("No more than %n plots are shown at a time.", nullptr,
                       static_cast<int>(PlotStack::a_most)));
        return false;
    }
    fPlots->addPlot();
    return true;
}

void PlotChoice::removeKey(std::size_t plot, int key) {
    xChange([&] { xRemoveKey(plot, key); });
}

void PlotChoice::removeKey(const QString& name) {
    const int key = fKeys.find(name);
    xChange([&] {
        for (std::size_t plot = fPlots->size(); plot-- > 0;) {
            xRemoveKey(plot, key);
        }
    });
}

/** Called in xChange(). */
void PlotChoice::xRemoveKey(std::size_t plot, int key) {
    PlotView& view = fPlots->plot(plot);
    if (view.contains(key)) {
        view.removeCurve(key);
        if (view.keys().empty()) {
            fPlots->removePlot(plot);
        }
    }
}

void PlotChoice::removePlot(std::size_t plot) {
    xChange([&] { fPlots->removePlot(plot); });
}

void PlotChoice::removeAll() {
    xChange([this] {
        while (!fPlots->isEmpty()) {
            fPlots->removePlot(fPlots->size() - 1);
        }
    });
}

void PlotChoice::xForgetUnplotted() {
    const std::vector<PlotView*>& plots = fPlots->plots();
    const std::map<int, PlottedKey> before = fKeys.all();
    for (const auto& each : before) {
        const int key = each.first;
        const bool isPlotted = std::any_of(plots.begin(), plots.end(), [key](const PlotView* plot) {
            return plot->contains(key);
        });
        if (!isPlotted) {
            fHistory->remove(key);
            fKeys.remove(key);
        }
    }
}

void PlotChoice::move(const QString& name, std::size_t fromPlot, std::size_t toPlot) {
    const int key = fKeys.find(name);
    if (key < 0 || fromPlot == toPlot) {
        return;
    }
    xChange([&] {
        if (addKey(name, QString(), CurveShape::Line, toPlot)) {
            xRemoveKey(fromPlot, key);
        }
    });
}

void PlotChoice::describe(const QString& name, const QString& unit, CurveShape shape) {
    if (fKeys.describe(name, unit, shape)) {
        xApplyPens();
    }
}

void PlotChoice::take(const QStringList& names, int toPlot, int fromPlot) {
    std::vector<PlottedKey> keys;
    QStringList refused;
    for (const QString& name : names) {
        if (fromPlot >= 0) {
            move(name, static_cast<std::size_t>(fromPlot),
                 toPlot >= 0 ? static_cast<std::size_t>(toPlot) : fPlots->size());
        } else if (const auto key = fLookup ? fLookup(name) : PlottedKey{name, {}}) {
            keys.push_back(*key);
        } else {
            refused += obvista::plainText(name.toStdString());
        }
    }
    if (xTakeNew(keys, toPlot) && !refused.isEmpty()) {
        //: %1 is a list of keys
        Q_EMIT said(tr("Not plotted, since the values are not numbers: %1.")
                        .arg(refused.join(QStringLiteral(", "))));
    }
}

/** @return true if all are plotted now */
bool PlotChoice::xTakeNew(const std::vector<PlottedKey>& keys, int toPlot) {
    const bool haveOneUnit = std::all_of(keys.begin(), keys.end(), [&](const PlottedKey& key) {
        return key.fUnit == keys.front().fUnit;
    });
    const auto wanted = toPlot >= 0 ? static_cast<std::size_t>(toPlot) : fPlots->size();
    // Several keys may request a plot before it exists.
    std::map<QString, std::size_t> plots;
    for (const PlottedKey& key : keys) {
        const auto known = plots.find(key.fUnit);
        const std::size_t plot = known != plots.end() ? known->second
                                 : haveOneUnit        ? wanted
                                                      : xPlotFor(key.fUnit, toPlot);
        plots[key.fUnit] = plot;
        if (!addKey(key.fName, key.fUnit, key.fShape, plot)) {
            return false;
        }
    }
    return true;
}

/**
 * For keys that were selected with others of other units. An index after the last one is a new
 * plot.
 */
std::size_t PlotChoice::xPlotFor(const QString& unit, int toPlot) const {
    const std::size_t count = fPlots->size();
    const auto wanted = static_cast<std::size_t>(toPlot);
    if (toPlot < 0) {
        return count;
    }
    const auto fits = [&](const PlotView& plot) { return unitOf(plot) == unit; };
    if (wanted < count && (fPlots->plot(wanted).keys().empty() || fits(fPlots->plot(wanted)))) {
        return wanted;
    }
    const auto& plots = fPlots->plots();
    const auto found =
        std::find_if(plots.begin(), plots.end(), [&](const PlotView* plot) { return fits(*plot); });
    return static_cast<std::size_t>(found - plots.begin());
}

std::optional<QString> PlotChoice::unitOf(const PlotView& plot) const {
    const auto& keys = plot.keys();
    const bool haveOneUnit = !keys.empty() && std::all_of(keys.begin(), keys.end(), [&](int key) {
        return fKeys.at(key).fUnit == fKeys.at(keys.front()).fUnit;
    });
    return haveOneUnit ? std::optional<QString>(fKeys.at(keys.front()).fUnit) : std::nullopt;
}

void PlotChoice::setKeyLookup(KeyLookup lookup) {
    fLookup = std::move(lookup);
}

QVariantList PlotChoice::saved() const {
    QVariantList plots;
    for (const PlotView* plot : fPlots->plots()) {
        QVariantList curves;
        for (const int key : plot->keys()) {
            const PlottedKey& description = fKeys.at(key);
            curves +=
                QVariantMap{{QStringLiteral("key"), description.fName},
                            {QStringLiteral("unit"), description.fUnit},
                            {QStringLiteral("steps"), description.fShape == CurveShape::Steps}};
        }
        plots.push_back(curves);
    }
    return plots;
}

void PlotChoice::restore(const QVariantList& plots) {
    xChange([&] {
        for (const QVariant& plot : plots) {
            xRestorePlot(plot.toList());
        }
    });
}

void PlotChoice::xRestorePlot(const QVariantList& curves) {
    const std::size_t before = fPlots->size();
    for (const QVariant& curve : curves) {
        const QVariantMap saved = curve.toMap();
        const bool hasSteps = saved.value(QStringLiteral("steps")).toBool();
        addKey(saved.value(QStringLiteral("key")).toString(),
               saved.value(QStringLiteral("unit")).toString(),
               hasSteps ? CurveShape::Steps : CurveShape::Line, before);
    }
}

}  // namespace memoryviewer
