#ifndef OBVISTA_MEMORYVIEWER_PLOT_MENU_H
#define OBVISTA_MEMORYVIEWER_PLOT_MENU_H

#include <QMenu>

#include <cstddef>

namespace memoryviewer {

class PlotChoice;
class PlotStack;
class PlotSaving;

/** Actions on one plot and on its selected curve. */
class PlotMenu : public QMenu {
    Q_OBJECT

  public:
    /** All must outlive the menu. @param key the selected curve's, -1 if there is none */
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
