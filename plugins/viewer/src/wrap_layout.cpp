#include <obvista/viewer/wrap_layout.h>

#include <QStyle>
#include <QWidget>

#include <algorithm>

namespace obvista {

WrapLayout::WrapLayout(QWidget* parent) : QLayout(parent) {
}

WrapLayout::~WrapLayout() = default;

void WrapLayout::addItem(QLayoutItem* item) {
    fItems.emplace_back(item);
}

int WrapLayout::count() const {
    return static_cast<int>(fItems.size());
}

QLayoutItem* WrapLayout::itemAt(int index) const {
    const bool isThere = index >= 0 && index < count();
    return isThere ? fItems[static_cast<std::size_t>(index)].get() : nullptr;
}

QLayoutItem* WrapLayout::takeAt(int index) {
    if (itemAt(index) == nullptr) {
        return nullptr;
    }
    QLayoutItem* taken = fItems[static_cast<std::size_t>(index)].release();
    fItems.erase(fItems.begin() + index);
    return taken;
}

int WrapLayout::heightForWidth(int width) const {
    int bottom = 0;
    for (const Place& place : xPlaces(QRect(0, 0, width - xMargins().width(), 0))) {
        bottom = std::max(bottom, place.fRect.bottom() + 1);
    }
    return bottom + xMargins().height();
}

QSize WrapLayout::sizeHint() const {
    QSize row;
    for (const std::unique_ptr<QLayoutItem>& item : fItems) {
        if (!item->isEmpty()) {
            const QSize size = item->sizeHint();
            row = QSize(row.width() + std::max(spacing(), 0) + size.width(),
                        std::max(row.height(), size.height()));
        }
    }
    return row + xMargins();
}

QSize WrapLayout::minimumSize() const {
    QSize size(0, 0);
    for (const std::unique_ptr<QLayoutItem>& item : fItems) {
        size = size.expandedTo(item->minimumSize());
    }
    return size + xMargins();
}

void WrapLayout::setGeometry(const QRect& rect) {
    QLayout::setGeometry(rect);
    const Qt::LayoutDirection direction = parentWidget()->layoutDirection();
    for (const Place& place : xPlaces(rect.marginsRemoved(contentsMargins()))) {
        place.fItem->setGeometry(QStyle::visualRect(direction, rect, place.fRect));
    }
}

/** Returns the positions of the items; those of one row are vertically centred. */
std::vector<WrapLayout::Place> WrapLayout::xPlaces(const QRect& rect) const {
    std::vector<Place> places;
    std::size_t rowBegin = 0;
    int rowHeight = 0;
    QPoint next = rect.topLeft();
    const auto endRow = [&] {
        for (; rowBegin < places.size(); ++rowBegin) {
            QRect& placed = places[rowBegin].fRect;
            placed.moveTop(placed.top() + (rowHeight - placed.height()) / 2);
        }
    };
    for (const std::unique_ptr<QLayoutItem>& item : fItems) {
        if (item->isEmpty()) {
            continue;
        }
        QSize size = item->sizeHint();
        size.setWidth(std::min(size.width(), rect.width()));
        if (next.x() > rect.left() && next.x() + size.width() > rect.left() + rect.width()) {
            endRow();
            next = QPoint(rect.left(), next.y() + rowHeight + std::max(spacing(), 0));
            rowHeight = 0;
        }
        places.push_back({item.get(), QRect(next, size)});
        next.rx() += size.width() + std::max(spacing(), 0);
        rowHeight = std::max(rowHeight, size.height());
    }
    endRow();
    return places;
}

QSize WrapLayout::xMargins() const {
    const QMargins margins = contentsMargins();
    return {margins.left() + margins.right(), margins.top() + margins.bottom()};
}

}  // namespace obvista
