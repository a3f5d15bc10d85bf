#ifndef OBVISTA_MEMORYVIEWER_PLOT_STACK_H
#define OBVISTA_MEMORYVIEWER_PLOT_STACK_H

#include <QSplitter>

#include <cstddef>
#include <vector>

namespace memoryviewer {

class PlotHistory;
class PlotView;
class TimeAxis;

/** Plots below each other, one of which is the current one: that in which the user works. */
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
    /** Safe in an answer to a signal of that plot. */
    void removePlot(std::size_t number);

    /** 0 when there is no plot. */
    std::size_t current() const { return fCurrent; }
    /** Nothing for a number that no plot has. */
    void setCurrent(int number);

    /** See PlotView::setHoldTime(); for later plots too. */
    void setHoldTime(double microseconds);
    /** Draws all plots, with values axes of one width. */
    void refresh();

  Q_SIGNALS:
    void currentChanged(int plot);
    /** A plot has another size, or shows other values by the user's choice. */
    void refreshNeeded();
    /** Colours that were chosen for the palette before may not be seen on this one. */
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
