#include "view/memory_panes.h"

#include "plots/plot_panel.h"
#include "view/key_tree_view.h"
#include "view/watch_view.h"

#include <obvista/viewer/labels.h>

#include <QLabel>
#include <QStackedLayout>

#include <utility>

namespace memoryviewer {

namespace {

constexpr int a_leastLines = 8;

}  // namespace

MemoryPanes::MemoryPanes(KeyTreeView* tree, WatchView* watchView, PlotPanel* plots, QWidget* parent)
    : QSplitter(Qt::Vertical, parent),
      fTree(tree),
      fWatchView(watchView),
      fPlots(plots),
      fPages(new QStackedLayout),
      fMessage(obvista::makeMessage("memoryMessage", this)),
      fWatchHeight(fWatchView->sizeHint().height()) {
    auto* keys = new QWidget(this);
    keys->setLayout(fPages);
    keys->setMinimumHeight(a_leastLines * fontMetrics().height());
    fPages->addWidget(fMessage);
    fPages->addWidget(fTree);
    addWidget(keys);
    addWidget(fWatchView);
    addWidget(fPlots);
    setStretchFactor(0, 3);
    setStretchFactor(1, 0);
    setStretchFactor(2, 2);
    setCollapsible(0, false);
    fPlots->hide();
}

void MemoryPanes::setMessage(const QString& message) {
    fMessage->setText(message);
    fPages->setCurrentWidget(message.isEmpty() ? static_cast<QWidget*>(fTree) : fMessage);
}

bool MemoryPanes::isTreeShown() const {
    return fPages->currentWidget() == fTree;
}

void MemoryPanes::showPlots(bool isShown) {
    if (isShown == !fPlots->isHidden()) {
        return;
    }
    fPlots->setVisible(isShown);
    const int watched = fWatchView->sizeHint().height();
    const int plots = isShown ? height() * 3 / 5 : 0;
    setSizes({height() - watched - plots, watched, plots});
}

void MemoryPanes::fitWatchList() {
    const int wanted = fWatchView->sizeHint().height();
    const int more = wanted - std::exchange(fWatchHeight, wanted);
    const QList<int> now = sizes();
    if (more != 0 && now[0] > more) {
        setSizes({now[0] - more, now[1] + more, now[2]});
    }
}

}  // namespace memoryviewer
