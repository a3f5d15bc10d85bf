#include "plot_choice.h"

#include "curve_colours.h"
#include "curve_legend.h"
#include "plot_history.h"
#include "plot_stack.h"
#include "plot_view.h"

#include <algorithm>
#include <plain_text.h>
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

/** Does something to the choice, and what follows from it. */
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
            Q_EMIT said(tr("No more than %1 keys are plotted at a time.").arg(PlottedKeys::a_most));
        } else if (plot < fPlots->size() || xAddPlot()) {
            xApplyPen(fPlots->plot(std::min(plot, fPlots->size() - 1)), key);
            isPlotted = true;
        }
    });
    return isPlotted;
}

/** @return the handle of a key, newly made when it is not plotted; -1 when there are too many */
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

/** For what became known of keys, or on another palette. */
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

/** To be called in xChange(). @return whether there is a new plot */
bool PlotChoice::xAddPlot() {
    if (fPlots->isFull()) {
        Q_EMIT said(tr("No more than %1 plots are shown at a time.").arg(PlotStack::a_most));
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

/** To be called in xChange(). */
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
    const std::size_t to = toPlot >= 0 ? static_cast<std::size_t>(toPlot) : fPlots->size();
    QStringList refused;
    for (const QString& name : names) {
        if (fromPlot >= 0) {
            move(name, static_cast<std::size_t>(fromPlot), to);
        } else if (fIsPlottable && !fIsPlottable(name)) {
            refused += viewer::plainText(name.toStdString());
        } else if (!addKey(name, QString(), CurveShape::Line, std::min(to, fPlots->size()))) {
            return;
        }
    }
    if (!refused.isEmpty()) {
        Q_EMIT said(tr("Not plotted, since its values are no numbers: %1.")
                        .arg(refused.join(QStringLiteral(", "))));
    }
}

void PlotChoice::setKeyCheck(std::function<bool(const QString&)> isPlottable) {
    fIsPlottable = std::move(isPlottable);
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
