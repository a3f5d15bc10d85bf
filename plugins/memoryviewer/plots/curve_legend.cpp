#include "plots/curve_legend.h"

#include "plots/key_mime.h"

#include <obvista/viewer/plain_text.h>

#include <QContextMenuEvent>
#include <QDrag>
#include <QHeaderView>
#include <QMimeData>
#include <QPainter>

#include <algorithm>

namespace memoryviewer {

namespace {

constexpr int a_keyRole = Qt::UserRole;
constexpr int a_nameRole = Qt::UserRole + 1;
constexpr int a_maxNameLength = 200;
constexpr int a_maxUnitLength = 24;
constexpr int a_nameCharacters = 40;
constexpr int a_valueCharacters = 14;
constexpr int a_lines = 10;

QSize pictureSize(int height) {
    return {2 * height, height};
}

}  // namespace

QString legendText(const LegendEntry& entry) {
    const QString name = obvista::plainText(entry.fName.toStdString(), a_maxNameLength);
    const QString unit = obvista::plainText(entry.fUnit.toStdString(), a_maxUnitLength);
    return unit.isEmpty() ? name : QStringLiteral("%1 [%2]").arg(name, unit);
}

QPixmap legendPicture(const QPen& pen, const QPaintDevice& device, int height) {
    const qreal ratio = device.devicePixelRatioF();
    const QSize size = pictureSize(height);
    QPixmap picture(size * ratio);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    QPen line = pen;
    line.setCosmetic(false);
    line.setWidthF(2);
    painter.setPen(line);
    painter.drawLine(QPointF(0, height / 2.0), QPointF(size.width(), height / 2.0));
    return picture;
}

CurveLegend::CurveLegend(QWidget* parent) : QTreeWidget(parent) {
    setObjectName(QStringLiteral("plotLegend"));
    setAccessibleName(tr("Curves"));
    setColumnCount(2);
    setHeaderLabels({tr("Curve"), tr("Value")});
    setUniformRowHeights(true);
    setAllColumnsShowFocus(true);
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setTextElideMode(Qt::ElideMiddle);
    setDragEnabled(true);
    setAcceptDrops(true);
    setDropIndicatorShown(true);
    setFrameShape(QFrame::NoFrame);
    header()->setStretchLastSection(false);
    header()->setSectionResizeMode(NameColumn, QHeaderView::Stretch);
    header()->setSectionResizeMode(ValueColumn, QHeaderView::Interactive);
    header()->setMinimumSectionSize(1);
    header()->resizeSection(ValueColumn, a_valueCharacters * fontMetrics().averageCharWidth());
    connect(this, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* item) {
        if (item != nullptr && !fIsFilling) {
            Q_EMIT plotChosen(xPlotOf(item));
        }
    });
}

QSize CurveLegend::sizeHint() const {
    const QFontMetrics metrics = fontMetrics();
    return {(a_nameCharacters + a_valueCharacters) * metrics.averageCharWidth(),
            a_lines * metrics.height()};
}

void CurveLegend::setPlots(const std::vector<std::vector<LegendEntry>>& plots) {
    const int plot = currentPlot();
    const int key = currentKey();
    fPlots = plots;
    setIconSize(pictureSize(fontMetrics().height()));
    fIsFilling = true;
    clear();
    for (std::size_t number = 0; number < plots.size(); ++number) {
        //: %1 is the number of a plot
        auto* branch = new QTreeWidgetItem(this, {tr("Plot %1").arg(number + 1), QString()});
        branch->setData(NameColumn, a_keyRole, -1);
        branch->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDropEnabled);
        QFont bold = font();
        bold.setBold(true);
        branch->setFont(NameColumn, bold);
        for (const LegendEntry& entry : plots[number]) {
            branch->addChild(xMakeItem(entry));
        }
    }
    expandAll();
    if (!xSelect(plot, key)) {
        xSelect(plot, -1);
    }
    fIsFilling = false;
}

QTreeWidgetItem* CurveLegend::xMakeItem(const LegendEntry& entry) const {
    const QString text = legendText(entry);
    auto* item = new QTreeWidgetItem({text, QString()});
    item->setIcon(NameColumn, legendPicture(entry.fPen, *this, fontMetrics().height()));
    item->setToolTip(NameColumn, QStringLiteral("<p>%1</p>").arg(text.toHtmlEscaped()));
    item->setTextAlignment(ValueColumn, int(Qt::AlignRight | Qt::AlignVCenter));
    item->setData(NameColumn, a_keyRole, entry.fKey);
    item->setData(NameColumn, a_nameRole, entry.fName);
    item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled |
                   Qt::ItemIsDropEnabled);
    return item;
}

bool CurveLegend::xSelect(int plot, int key) {
    const QTreeWidgetItem* branch = topLevelItem(plot);
    if (branch == nullptr) {
        return false;
    }
    if (key < 0) {
        setCurrentItem(topLevelItem(plot));
        return true;
    }
    for (int row = 0; row < branch->childCount(); ++row) {
        if (branch->child(row)->data(NameColumn, a_keyRole).toInt() == key) {
            setCurrentItem(branch->child(row));
            return true;
        }
    }
    return false;
}

void CurveLegend::setValue(int key, const QString& text) {
    for (int plot = 0; plot < topLevelItemCount(); ++plot) {
        const QTreeWidgetItem* branch = topLevelItem(plot);
        for (int row = 0; row < branch->childCount(); ++row) {
            QTreeWidgetItem* item = branch->child(row);
            if (item->data(NameColumn, a_keyRole).toInt() == key &&
                item->text(ValueColumn) != text) {
                item->setText(ValueColumn, text);
            }
        }
    }
}

void CurveLegend::setValuesTitle(const QString& title) {
    if (headerItem()->text(ValueColumn) != title) {
        headerItem()->setText(ValueColumn, title);
        header()->resizeSection(ValueColumn, std::max(header()->sectionSize(ValueColumn),
                                                      header()->sectionSizeHint(ValueColumn)));
    }
}

int CurveLegend::currentPlot() const {
    return xPlotOf(currentItem());
}

int CurveLegend::currentKey() const {
    return currentItem() != nullptr ? currentItem()->data(NameColumn, a_keyRole).toInt() : -1;
}

void CurveLegend::setCurrentPlot(int plot) {
    if (plot != currentPlot()) {
        xSelect(plot, -1);
    }
}

int CurveLegend::xPlotOf(const QTreeWidgetItem* item) {
    if (item == nullptr) {
        return -1;
    }
    const QTreeWidgetItem* branch = item->parent() != nullptr ? item->parent() : item;
    return branch->treeWidget()->indexOfTopLevelItem(const_cast<QTreeWidgetItem*>(branch));
}

void CurveLegend::keyPressEvent(QKeyEvent* event) {
    const bool isDelete = event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace;
    if (isDelete && currentItem() != nullptr) {
        Q_EMIT removeRequested(currentPlot(), currentKey());
        return;
    }
    QTreeWidget::keyPressEvent(event);
}

void CurveLegend::contextMenuEvent(QContextMenuEvent* event) {
    const bool isByMouse = event->reason() == QContextMenuEvent::Mouse;
    const QPoint middle = visualItemRect(currentItem()).center();
    Q_EMIT contextMenuRequested(isByMouse ? event->globalPos() : viewport()->mapToGlobal(middle));
}

/** Redraws the pictures for another scale or palette. */
void CurveLegend::changeEvent(QEvent* event) {
    QTreeWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        setPlots(std::vector<std::vector<LegendEntry>>(fPlots));
    }
}

void CurveLegend::startDrag(Qt::DropActions /*actions*/) {
    if (currentItem() == nullptr || currentKey() < 0) {
        return;
    }
    auto* drag = new QDrag(this);
    drag->setMimeData(keysToMime({currentItem()->data(NameColumn, a_nameRole).toString()}));
    drag->exec(Qt::MoveAction | Qt::CopyAction, Qt::MoveAction);
}

void CurveLegend::dragEnterEvent(QDragEnterEvent* event) {
    event->setAccepted(!keysFromMime(event->mimeData()).isEmpty());
}

void CurveLegend::dragMoveEvent(QDragMoveEvent* event) {
    QTreeWidget::dragMoveEvent(event);
    event->setAccepted(true);
}

void CurveLegend::dropEvent(QDropEvent* event) {
    const int to = xPlotOf(itemAt(event->pos()));
    const QStringList names = keysFromMime(event->mimeData());
    const int from = event->source() == this ? currentPlot() : -1;
    event->acceptProposedAction();
    Q_EMIT namesDropped(names, to, from);
}

}  // namespace memoryviewer
