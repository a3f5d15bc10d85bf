#include "view/key_view.h"

#include "model/key_cells.h"

#include <obvista/viewer/value_text.h>

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QHeaderView>

#include <algorithm>
#include <utility>

namespace memoryviewer {

namespace {

/** Maximum number of characters copied of one value, and in total. */
constexpr int a_maxCopiedValue = 1000000;
constexpr int a_maxCopied = 4000000;

}  // namespace

KeyView::KeyView(QAbstractItemModel* model, QWidget* parent) : QTreeView(parent) {
    setModel(model);
    setUniformRowHeights(true);
    setAlternatingRowColors(true);
    setAllColumnsShowFocus(true);
    setFrameShape(QFrame::NoFrame);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setTextElideMode(Qt::ElideRight);
    setSelectionMode(ExtendedSelection);
    setEditTriggers(DoubleClicked | EditKeyPressed);
    setContextMenuPolicy(Qt::CustomContextMenu);
    header()->setStretchLastSection(false);
}

bool KeyView::edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) {
    const bool isByKey = trigger == EditKeyPressed;
    return QTreeView::edit(isByKey ? index.siblingAtColumn(ValueColumn) : index, trigger, event);
}

void KeyView::repaintColumns(int first, int last) {
    // One rectangle, since Qt paints whole rows for several.
    QRect columns;
    for (int column = first; column <= last; ++column) {
        if (!header()->isSectionHidden(column)) {
            columns |= QRect(header()->sectionViewportPosition(column), 0,
                             header()->sectionSize(column), viewport()->height());
        }
    }
    viewport()->update(columns);
}

void KeyView::dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight,
                          const QVector<int>& roles) {
    // Qt's own tells screen readers too.
    if (topLeft == bottomRight || QAccessible::isActive()) {
        QTreeView::dataChanged(topLeft, bottomRight, roles);
    } else {
        repaintColumns(topLeft.column(), bottomRight.column());
    }
}

QModelIndexList KeyView::chosenRows() const {
    const QModelIndexList rows = selectionModel()->selectedRows(NameColumn);
    // Determining the position of a row is a search, so each is determined once.
    std::vector<std::pair<int, QModelIndex>> placed;
    placed.reserve(static_cast<std::size_t>(rows.size()));
    for (const QModelIndex& row : rows) {
        placed.emplace_back(visualRect(row).top(), row);
    }
    std::sort(placed.begin(), placed.end(),
              [](const auto& left, const auto& right) { return left.first < right.first; });
    QModelIndexList sorted;
    for (const auto& [top, row] : placed) {
        sorted += row;
    }
    return sorted;
}

QStringList KeyView::chosenNames() const {
    QStringList names;
    for (const MemoryKey* key : chosenKeys()) {
        names += QString::fromStdString(key->fInfo.fName);
    }
    return names;
}

void KeyView::copyNames() {
    xCopy(chosenNames(), [](const QString& name) { return name; });
}

void KeyView::copyValues() {
    xCopy(chosenKeys(), [](const MemoryKey* key) {
        return obvista::exactValueText(key->fValue, a_maxCopiedValue);
    });
}

void KeyView::copyRows() {
    xCopy(chosenKeys(), [](const MemoryKey* key) { return rowText(*key, a_maxCopiedValue); });
}

template <class Chosen, class TextOf>
void KeyView::xCopy(const Chosen& chosen, TextOf textOf) const {
    if (chosen.empty()) {
        return;
    }
    obvista::BoundedText lines(a_maxCopied);
    for (const auto& one : chosen) {
        if (lines.isFull()) {
            break;
        }
        lines.append(textOf(one));
        lines.append(QStringLiteral("\n"));
    }
    QString text = lines.text();
    if (text.endsWith(QLatin1Char('\n'))) {
        text.chop(1);
    }
    QGuiApplication::clipboard()->setText(text);
}

}  // namespace memoryviewer
