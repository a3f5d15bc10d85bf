#ifndef OBVISTA_MEMORYVIEWER_PLOT_CHOICE_H
#define OBVISTA_MEMORYVIEWER_PLOT_CHOICE_H

#include "plots/plotted_keys.h"

#include <QObject>
#include <QVariantList>

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

namespace memoryviewer {

class PlotHistory;
class PlotStack;
class PlotView;
struct LegendEntry;

/**
 * The user's choice of keys and plots: which keys are in which plots.
 *
 * A key may be in several plots; its history is kept once, as long as it is in one. A plot that
 * loses its last key goes.
 */
class PlotChoice : public QObject {
    Q_OBJECT

  public:
    /** Both must outlive the choice. */
    PlotChoice(PlotStack* plots, PlotHistory* history, QObject* parent);

    const PlottedKeys& keys() const { return fKeys; }
    std::vector<LegendEntry> entriesOf(const PlotView& plot) const;

    /**
     * Adds a key to a plot; nothing when it is there already.
     *
     * @param plot one behind the last makes a new one
     * @return whether it is there now; not so beyond the most keys or plots, which is said
     */
    bool addKey(const QString& name, const QString& unit, CurveShape shape, std::size_t plot);
    /** Adds an empty plot. */
    void addPlot();
    /** Takes a key from a plot. */
    void removeKey(std::size_t plot, int key);
    /** Takes a key from all plots. */
    void removeKey(const QString& name);
    void removePlot(std::size_t plot);
    void removeAll();
    /** Moves a key to another plot; one behind the last makes a new one. */
    void move(const QString& name, std::size_t fromPlot, std::size_t toPlot);
    /** What became known of a key; nothing when it is not plotted. */
    void describe(const QString& name, const QString& unit, CurveShape shape);

    /**
     * Takes keys that were dropped, or chosen together. When they have several units and come from
     * elsewhere, each unit goes to a plot of that unit, the wanted one if it can be: to one that is
     * there already, or else to a new one.
     *
     * @param toPlot -1 for new plots
     * @param fromPlot the plot that they are moved from, -1 when they come from elsewhere
     */
    void take(const QStringList& names, int toPlot, int fromPlot);
    /** See PlotPanel::setKeyLookup(). */
    void setKeyLookup(KeyLookup lookup);
    /** The unit of all keys of a plot; nothing when it has none, or they have several. */
    std::optional<QString> unitOf(const PlotView& plot) const;

    /** For each plot its keys. */
    QVariantList saved() const;
    void restore(const QVariantList& plots);

  Q_SIGNALS:
    /** Keys, plots or what is known of them are others than before. */
    void changed();
    /** Other keys are plotted than before. */
    void keysChanged();
    /** An answer to the user, to be shown as plain text. */
    void said(const QString& text);

  private:
    void xChange(const std::function<void()>& change);
    bool xAddPlot();
    int xKeyFor(const QString& name, const QString& unit, CurveShape shape);
    void xApplyPen(PlotView& plot, int key);
    void xApplyPens();
    void xRemoveKey(std::size_t plot, int key);
    void xForgetUnplotted();
    void xRestorePlot(const QVariantList& curves);
    bool xTakeNew(const std::vector<PlottedKey>& keys, int toPlot);
    std::size_t xPlotFor(const QString& unit, int toPlot) const;

    PlotStack* fPlots;
    PlotHistory* fHistory;
    PlottedKeys fKeys;
    KeyLookup fLookup;
};

}  // namespace memoryviewer

#endif
