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

/** Of the tree: titles and some rows. */
constexpr int a_leastLines = 5;
/** Height in lines below which plots get all the room that the tree does not need. */
constexpr int a_lowInLines = 24;

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
    connect(this, &QSplitter::splitterMoved, this, [this] { fIsChosen = true; });
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
    xShareRoom();
}

void MemoryPanes::fitWatchList() {
    const int wanted = fWatchView->sizeHint().height();
    const int more = wanted - std::exchange(fWatchHeight, wanted);
    if (!fIsChosen || fWatchView->isHidden()) {
        xShareRoom();
        return;
    }
    const QList<int> now = sizes();
    if (more != 0 && now[0] > more) {
        setSizes({now[0] - more, now[1] + more, now[2]});
    }
}

void MemoryPanes::resizeEvent(QResizeEvent* event) {
    QSplitter::resizeEvent(event);
    if (!fIsChosen) {
        xShareRoom();
    }
}

bool MemoryPanes::xIsLow() const {
    return height() < a_lowInLines * fontMetrics().height();
}

/** Where plots have little room, an empty watch list is hidden. */
void MemoryPanes::xShareRoom() {
    const bool hasPlots = !fPlots->isHidden();
    const bool isLow = hasPlots && xIsLow();
    fWatchView->setVisible(!isLow || fWatchView->model()->rowCount() > 0);
    const int watched = fWatchView->isHidden() ? 0 : fWatchView->sizeHint().height();
    const int others = isLow ? widget(0)->minimumHeight() + watched : height() * 2 / 5;
    const int plots = hasPlots ? height() - others : 0;
    setSizes({height() - watched - plots, watched, plots});
}

}  // namespace memoryviewer
