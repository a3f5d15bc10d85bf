#ifndef OBVISTA_MEMORYVIEWER_PLOT_STACK_H
#define OBVISTA_MEMORYVIEWER_PLOT_STACK_H

#include <QSplitter>

#include <cstddef>
#include <vector>

namespace memoryviewer {

class PlotHistory;
class PlotView;
class TimeAxis;

/** Plots one below the other; the current one is that in which the user works. */
class PlotStack : public QSplitter {
    Q_OBJECT

  public:
    static constexpr std::size_t a_most = 12;

    /** Both must outlive the plots. */
    PlotStack(TimeAxis* time, const PlotHistory* history, QWidget* parent);

    const std::vector<PlotView*>& plots() const { return fPlots; }
    PlotView& plot(std::size_t number) const { return *fPlots[number]; }
    std::size_t size() const { return fPlots.size(); }
    bool isEmpty() const { return fPlots.empty(); }
    bool isFull() const { return fPlots.size() >= a_most; }

    /** Adds a plot below the others, which becomes the current one. */
    PlotView* addPlot();
    /** May be called in a slot connected to a signal of that plot. */
    void removePlot(std::size_t number);

    /** Returns 0 if there is no plot. */
    std::size_t current() const { return fCurrent; }
    /** Does nothing for an invalid number. */
    void setCurrent(int number);

    /** Sets PlotView::setHoldTime(), also of later plots. */
    void setHoldTime(double microseconds);
    /** Draws all plots, with value axes of one width. */
    void refresh();

  Q_SIGNALS:
    void currentChanged(int plot);
    /** Emitted when the size of a plot, or the user's selection of its values, has changed. */
    void refreshNeeded();
    /** Emitted when the palette has changed; colours for the previous one may be unreadable. */
    void paletteChanged();
    void showAllRequested();
    void contextMenuRequested(const QPoint& globalPosition);
    void namesDropped(const QStringList& names, int toPlot, QObject* source);

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void xConnect(PlotView* plot);
    int xNumberOf(const PlotView* plot) const;

    TimeAxis* fTime;
    const PlotHistory* fHistory;
    std::vector<PlotView*> fPlots;
    std::size_t fCurrent = 0;
    double fHoldTime;
};

}  // namespace memoryviewer

#endif
