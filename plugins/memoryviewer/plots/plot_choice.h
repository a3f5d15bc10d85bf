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
 * The user's selection of keys and plots, and which plots contain which keys.
 *
 * A key may be in several plots; its history is stored once, while it is in at least one. A plot is
 * removed with its last key.
 */
class PlotChoice : public QObject {
    Q_OBJECT

  public:
    /** Both must outlive this object. */
    PlotChoice(PlotStack* plots, PlotHistory* history, QObject* parent);

    const PlottedKeys& keys() const { return fKeys; }
    std::vector<LegendEntry> entriesOf(const PlotView& plot) const;

    /**
     * Adds a key to a plot; does nothing if it is already there.
     *
     * @param plot an index after the last one creates a new plot
     * @return true if it is there now; false beyond the limits of keys or plots, which is reported
     */
    bool addKey(const QString& name, const QString& unit, CurveShape shape, std::size_t plot);
    /** Adds an empty plot. */
    void addPlot();
    /** Removes a key from a plot. */
    void removeKey(std::size_t plot, int key);
    /** Removes a key from all plots. */
    void removeKey(const QString& name);
    void removePlot(std::size_t plot);
    void removeAll();
    /** Moves a key to another plot; an index after the last one creates a new plot. */
    void move(const QString& name, std::size_t fromPlot, std::size_t toPlot);
    /** Sets the metadata of a key; does nothing if it is not plotted. */
    void describe(const QString& name, const QString& unit, CurveShape shape);

    /**
     * Adds keys that were dropped or selected together. If they have several units and do not come
     * from another plot, each unit gets a plot of that unit, the wanted one if possible: an
     * existing one, otherwise a new one.
     *
     * @param toPlot -1 for new plots
     * @param fromPlot the plot from which they are moved, -1 if they come from elsewhere
     */
    void take(const QStringList& names, int toPlot, int fromPlot);
    /** See PlotPanel::setKeyLookup(). */
    void setKeyLookup(KeyLookup lookup);
    /** Returns the unit of all keys of a plot; nothing if it has none, or they have several. */
    std::optional<QString> unitOf(const PlotView& plot) const;

    /** Returns the keys of each plot. */
    QVariantList saved() const;
    void restore(const QVariantList& plots);

  Q_SIGNALS:
    /** Emitted when keys, plots or their metadata have changed. */
    void changed();
    /** Emitted when the plotted keys have changed. */
    void keysChanged();
    /** Emitted with a message to the user, to be shown as plain text. */
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
