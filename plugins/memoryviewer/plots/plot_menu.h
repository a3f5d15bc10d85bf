#ifndef OBVISTA_MEMORYVIEWER_PLOT_MENU_H
#define OBVISTA_MEMORYVIEWER_PLOT_MENU_H

#include <QMenu>

#include <cstddef>

namespace memoryviewer {

class PlotChoice;
class PlotStack;
class PlotSaving;

/** What is done with one plot, and with the curve that is chosen in it. */
class PlotMenu : public QMenu {
    Q_OBJECT

  public:
    /** All must outlive the menu. @param key the chosen curve's, -1 without one */
    PlotMenu(PlotStack* plots, PlotChoice* choice, PlotSaving* saving, int key, QWidget* parent);

  Q_SIGNALS:
    void showAllRequested();

  private:
    void xAddCurveActions(std::size_t plot, int key);

    PlotStack* fPlots;
    PlotChoice* fChoice;
};

}  // namespace memoryviewer

#endif
