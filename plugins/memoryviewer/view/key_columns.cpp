#include "view/key_columns.h"

#include "view/key_view.h"

#include <QEvent>
#include <QHeaderView>
#include <QScopedValueRollback>
#include <QScrollBar>

#include <algorithm>
#include <cmath>

namespace memoryviewer {

namespace {

struct ColumnSize {
    int fCharacters;        ///< where there is room
    const char* fSmallest;  ///< text that has to find room
};

/** The name's is what its rows need. That of the value has room for the pencil. */
constexpr std::array<ColumnSize, ColumnCount> a_sizes{{{0, ""},
                                                       {20, "-0.00123457 mm"},
                                                       {8, "rad/s"},
                                                       {8, "string"},
                                                       {9, "\u2265 10.0"},
                                                       {10, "59:59 min"}}};
/** Room of a cell around its text. */
constexpr int a_padding = 2;
/** Characters of names before which columns at the end leave, and for which others are squeezed. */
constexpr int a_readableName = 20;
constexpr int a_longName = 48;
constexpr int a_mostCharacters = 1000;

}  // namespace

KeyColumns::KeyColumns(KeyView* tree, KeyView* watch, QObject* parent)
    : QObject(parent), fTree(tree), fWatch(watch), fHeader(tree->header()) {
    fFitTimer.setSingleShot(true);
    connect(&fFitTimer, &QTimer::timeout, this, [this] {
        xMeasureNames();
        xFit();
    });
    connect(fHeader, &QHeaderView::sectionResized, this, &KeyColumns::xOnResized);
    connect(fHeader, &QHeaderView::sectionMoved, this, &KeyColumns::xFitSoon);
    xConnect(tree);
    xConnect(watch);
    connect(tree, &QTreeView::expanded, this, &KeyColumns::xFitSoon);
    connect(tree->verticalScrollBar(), &QScrollBar::valueChanged, this, &KeyColumns::xFitSoon);
    connect(tree->horizontalScrollBar(), &QScrollBar::valueChanged, watch->horizontalScrollBar(),
            &QScrollBar::setValue);
    connect(watch->horizontalScrollBar(), &QScrollBar::valueChanged, tree->horizontalScrollBar(),
            &QScrollBar::setValue);
    tree->installEventFilter(this);
    tree->viewport()->installEventFilter(this);
}

void KeyColumns::xConnect(KeyView* view) {
    // Only rows on the screen are measured, so that it costs the same for any number of keys.
    view->header()->setResizeContentsPrecision(0);
    const QAbstractItemModel* model = view->model();
    connect(model, &QAbstractItemModel::rowsInserted, this, &KeyColumns::xFitSoon);
    connect(model, &QAbstractItemModel::layoutChanged, this, &KeyColumns::xFitSoon);
    connect(model, &QAbstractItemModel::modelReset, this, &KeyColumns::xFitSoon);
}

QVariantList KeyColumns::saved() const {
    QVariantList widths;
    for (const double width : fChosen) {
        widths += width;
    }
    return widths;
}

void KeyColumns::restore(const QByteArray& header, const QVariantList& widths) {
    const QScopedValueRollback<bool> fitting(fIsFitting, true);
    fHeader->restoreState(header);
    fHeader->showSection(NameColumn);
    // A state has these too, and it may be an old one.
    fHeader->setSectionResizeMode(QHeaderView::Interactive);
    fHeader->setStretchLastSection(false);
    for (int column = 0; column < ColumnCount && column < widths.size(); ++column) {
        const double width = widths[column].toDouble();
        const bool isWidth = width > 0 && width <= a_mostCharacters;
        fChosen[static_cast<std::size_t>(column)] = isWidth ? width : 0;
    }
    xFit();
}

void KeyColumns::forgetNames() {
    fNames = 0;
    xFitSoon();
}

bool KeyColumns::eventFilter(QObject* object, QEvent* event) {
    if (object == fTree && event->type() == QEvent::FontChange) {
        forgetNames();  // once the titles have the font too
    } else if (object == fTree->viewport() && event->type() == QEvent::Resize) {
        xFit();
    }
    return QObject::eventFilter(object, event);
}

/** Names that were seen keep their room, so that columns do not move to and fro. */
void KeyColumns::xMeasureNames() {
    fNames = std::max(
        {fNames, fTree->sizeHintForColumn(NameColumn), fWatch->sizeHintForColumn(NameColumn)});
}

int KeyColumns::xCharacter() const {
    return std::max(fTree->fontMetrics().averageCharWidth(), 1);
}

KeyColumns::Section KeyColumns::xSection(int column) const {
    const auto number = static_cast<std::size_t>(column);
    const ColumnSize& size = a_sizes[number];
    const int text = fTree->fontMetrics().horizontalAdvance(QString::fromUtf8(size.fSmallest)) +
                     a_padding * xCharacter();
    const int title = fHeader->sectionSizeHint(column);
    const int least = std::max(text, title);
    if (fChosen[number] > 0) {
        const int chosen = static_cast<int>(std::lround(fChosen[number] * xCharacter()));
        return {column, chosen, std::min(chosen, least)};
    }
    return {column, std::max(size.fCharacters * xCharacter(), least), least};
}

/** Those that are shown but for the name, in their order. */
std::vector<KeyColumns::Section> KeyColumns::xSections() const {
    std::vector<Section> sections;
    for (int place = 0; place < fHeader->count(); ++place) {
        const int column = fHeader->logicalIndex(place);
        if (column != NameColumn && !fHeader->isSectionHidden(column)) {
            sections.push_back(xSection(column));
        }
    }
    return sections;
}

void KeyColumns::xFit() {
    const int room = fTree->viewport()->width();
    std::vector<Section> sections = xSections();
    const int title = fHeader->sectionSizeHint(NameColumn);
    const int names =
        fChosen[NameColumn] > 0 ? xSection(NameColumn).fWidth : std::max(fNames, title);

    int others = 0;
    for (const Section& section : sections) {
        others += section.fWidth;
    }
    const int wanted = std::min(names, a_longName * xCharacter());
    for (Section& section : sections) {
        const int given = std::clamp(others + wanted - room, 0, section.fWidth - section.fLeast);
        section.fWidth -= given;
        others -= given;
    }
    const int readable = std::min(names, a_readableName * xCharacter());
    auto seen = sections.size();
    for (; seen > 0 && others + readable > room && sections[seen - 1].fColumn != ValueColumn;
         --seen) {
        others -= sections[seen - 1].fWidth;
    }
    // No part of a column that has left is seen.
    const int most = seen < sections.size() ? room - others : names;

    {
        const QScopedValueRollback<bool> fitting(fIsFitting, true);
        fHeader->resizeSection(NameColumn, std::max(std::min(room - others, most), title));
        for (const Section& section : sections) {
            fHeader->resizeSection(section.fColumn, section.fWidth);
        }
    }
    xAlign();
}

void KeyColumns::xOnResized(int column, int before, int width) {
    // One that is hidden or shown again is resized from or to nothing.
    if (fIsFitting) {
        return;
    }
    if (before == 0 || width == 0) {
        xFitSoon();
        return;
    }
    fChosen[static_cast<std::size_t>(column)] = static_cast<double>(width) / xCharacter();
    xAlign();
}

/** The columns of both areas stand below each other. */
void KeyColumns::xAlign() {
    QHeaderView* to = fWatch->header();
    for (int place = 0; place < fHeader->count(); ++place) {
        const int column = fHeader->logicalIndex(place);
        to->moveSection(to->visualIndex(column), place);
        to->setSectionHidden(column, fHeader->isSectionHidden(column));
        if (!fHeader->isSectionHidden(column)) {
            to->resizeSection(column, fHeader->sectionSize(column));
        }
    }
}

}  // namespace memoryviewer
