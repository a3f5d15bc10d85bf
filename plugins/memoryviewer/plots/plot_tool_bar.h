#ifndef OBVISTA_MEMORYVIEWER_PLOT_TOOL_BAR_H
#define OBVISTA_MEMORYVIEWER_PLOT_TOOL_BAR_H

#include <QToolBar>

#include <vector>

class QMenu;

namespace memoryviewer {

class PlotSaving;
class TimeAxis;

/** Actions on all plots, or on the current one. */
class PlotToolBar : public QToolBar {
    Q_OBJECT

  public:
    /** Both must outlive the bar. */
    PlotToolBar(TimeAxis* time, PlotSaving* saving, QWidget* parent);

    /** Enables the actions that need a plot. */
    void setHasPlots(bool hasPlots);

  Q_SIGNALS:
    void showAllRequested();
    void newPlotRequested();
    void clearRequested();
    void removeAllRequested();

  private:
    QAction* xAdd(const QString& text, const QString& hint, const char* objectName);
    QAction* xAddMenu(const QString& text, const QString& hint, const char* objectName,
                      QMenu* menu);
    void xAddFollow(TimeAxis* time);
    QMenu* xMakeSpans(TimeAxis* time);

    std::vector<QAction*> fActionsOnPlots;
    QAction* fClear;
};

}  // namespace memoryviewer

#endif
