#include "view/memory_panes.h"

#include "plots/plot_panel.h"
#include "view/key_tree_view.h"
#include "view/watch_view.h"

#include <obvista/viewer/labels.h>

#include <QLabel>
#include <QStackedLayout>

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
      fMessage(obvista::makeMessage("memoryMessage", this)) {
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

void MemoryPanes::setWatchListEmpty(bool isEmpty) {
    if (isEmpty == fIsWatchListEmpty) {
        return;
    }
    fIsWatchListEmpty = isEmpty;
    const QList<int> now = sizes();
    const int more = fWatchView->sizeHint().height() - now[1];
    if (now[0] > more) {
        setSizes({now[0] - more, now[1] + more, now[2]});
    }
}

}  // namespace memoryviewer
