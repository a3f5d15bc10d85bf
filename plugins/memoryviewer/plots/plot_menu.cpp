#include "plots/plot_menu.h"

#include "plots/plot_choice.h"
#include "plots/plot_saving.h"
#include "plots/plot_stack.h"
#include "plots/plot_view.h"

namespace memoryviewer {

PlotMenu::PlotMenu(PlotStack* plots, PlotChoice* choice, PlotSaving* saving, int key,
                   QWidget* parent)
    : QMenu(parent), fPlots(plots), fChoice(choice) {
    setObjectName(QStringLiteral("plotMenu"));
    const std::size_t plot = plots->current();
    if (key >= 0) {
        xAddCurveActions(plot, key);
        addSeparator();
    }
    addAction(tr("&Fit values"), &plots->plot(plot), &PlotView::fitValues);
    addAction(tr("Show &all points"), this, &PlotMenu::showAllRequested);
    saving->addTo(*this);
    addSeparator();
    addAction(tr("Remove p&lot"), choice, [choice, plot] { choice->removePlot(plot); });
}

void PlotMenu::xAddCurveActions(std::size_t plot, int key) {
    const QString name = fChoice->keys().at(key).fName;
    addAction(tr("&Remove curve"), fChoice,
              [choice = fChoice, plot, key] { choice->removeKey(plot, key); });
    QMenu* targets = addMenu(tr("&Move curve to"));
    for (std::size_t to = 0; to < fPlots->size(); ++to) {
        //: %1 is the number of a plot
        QAction* target = targets->addAction(tr("Plot %1").arg(to + 1));
        target->setEnabled(to != plot);
        connect(target, &QAction::triggered, fChoice,
                [choice = fChoice, name, plot, to] { choice->move(name, plot, to); });
    }
    targets->addAction(tr("&New plot"), fChoice,
                       [choice = fChoice, name, plot, behind = fPlots->size()] {
                           choice->move(name, plot, behind);
                       });
}

}  // namespace memoryviewer
