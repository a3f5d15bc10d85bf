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
    int fCharacters;        ///< preferred width
    const char* fSmallest;  ///< text that must fit
};

/** The name column is as wide as its rows need. The value column has room for the pencil. */
constexpr std::array<ColumnSize, ColumnCount> a_sizes{{{0, ""},
                                                       {20, "-0.00123457 mm"},
                                                       {8, "rad/s"},
                                                       {8, "string"},
                                                       {9, "\u2265 10.0"},
                                                       {12, "  59:59 min"}}};
/** Padding of a cell around its text. */
constexpr int a_padding = 2;
/** Characters of names that must be visible before columns are squeezed or moved out of view. */
constexpr int a_readableName = 20;
/** Characters up to which a column grows with its texts. */
constexpr int a_longText = 48;
/** Milliseconds between two measurements of values that change. */
constexpr int a_valueTime = 1000;
constexpr int a_mostCharacters = 1000;

}  // namespace

KeyColumns::KeyColumns(KeyView* tree, KeyView* watch, QObject* parent)
    : QObject(parent), fTree(tree), fWatch(watch), fHeader(tree->header()) {
    fFitTimer.setSingleShot(true);
    fValueTimer.setSingleShot(true);
    const auto fit = [this] {
        xMeasure();
        xFit();
    };
    connect(&fFitTimer, &QTimer::timeout, this, fit);
    connect(&fValueTimer, &QTimer::timeout, this, fit);
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
    // Only rows on the screen are measured, so that the cost does not depend on the number of keys.
    view->header()->setResizeContentsPrecision(0);
    const QAbstractItemModel* model = view->model();
    connect(model, &QAbstractItemModel::rowsInserted, this, &KeyColumns::xFitSoon);
    connect(model, &QAbstractItemModel::layoutChanged, this, &KeyColumns::xFitSoon);
    connect(model, &QAbstractItemModel::modelReset, this, &KeyColumns::xFitSoon);
    connect(model, &QAbstractItemModel::dataChanged, this, [this] {
        if (!fValueTimer.isActive()) {
            fValueTimer.start(a_valueTime);
        }
    });
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
    // A saved state includes these modes, and it may be an old one.
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
    fValues = 0;
    xFitSoon();
}

bool KeyColumns::eventFilter(QObject* object, QEvent* event) {
    if (object == fTree && event->type() == QEvent::FontChange) {
        forgetNames();  // after the titles have the font, too
    } else if (object == fTree->viewport() && event->type() == QEvent::Resize) {
        xFit();
    }
    return QObject::eventFilter(object, event);
}

/** Visible texts keep their width, so that columns do not move back and forth. */
void KeyColumns::xMeasure() {
    const auto widen = [this](int& width, int column) {
        width =
            std::max({width, fTree->sizeHintForColumn(column), fWatch->sizeHintForColumn(column)});
    };
    widen(fNames, NameColumn);
    widen(fValues, ValueColumn);
}

int KeyColumns::xNameWidth() const {
    return fChosen[NameColumn] > 0 ? xSection(NameColumn).fWidth
                                   : std::max(fNames, fHeader->sectionSizeHint(NameColumn));
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

/** Returns the visible columns except the name, in their order. */
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
    const int names = xNameWidth();
    const int longText = a_longText * xCharacter();

    int others = 0;
    for (const Section& section : sections) {
        others += section.fWidth;
    }
    const int wanted = std::min(names, longText);
    for (Section& section : sections) {
        const int given = std::clamp(others + wanted - room, 0, section.fWidth - section.fLeast);
        section.fWidth -= given;
        others -= given;
        if (section.fColumn == ValueColumn && fChosen[ValueColumn] == 0) {
            const int spare = std::max(room - names - others, 0);
            const int more = std::clamp(std::min(fValues, longText) - section.fWidth, 0, spare);
            section.fWidth += more;
            others += more;
        }
    }
    const int readable = std::min(names, a_readableName * xCharacter());
    auto seen = sections.size();
    for (; seen > 0 && others + readable > room && sections[seen - 1].fColumn != ValueColumn;
         --seen) {
        others -= sections[seen - 1].fWidth;
    }
    // A column that was moved out is completely invisible.
    const int most = seen < sections.size() ? room - others : names;

    {
        const QScopedValueRollback<bool> fitting(fIsFitting, true);
        fHeader->resizeSection(NameColumn, std::max(std::min(room - others, most), title));
        for (const Section& section : sections) {
            fHeader->resizeSection(section.fColumn, section.fWidth);
        }
    }
    xStretchLast();
}

int KeyColumns::xLastColumn() const {
    int place = fHeader->count() - 1;
    while (fHeader->isSectionHidden(fHeader->logicalIndex(place))) {
        --place;  // the names are never hidden
    }
    return fHeader->logicalIndex(place);
}

/** Returns the width that the other columns leave for the last one. */
int KeyColumns::xRoomForLast() const {
    return fTree->viewport()->width() - (fHeader->length() - fHeader->sectionSize(xLastColumn()));
}

/** Lets the last column end where the view ends, without cutting it. */
void KeyColumns::xStretchLast() {
    const int last = xLastColumn();
    const int usual = last == NameColumn ? xNameWidth() : xSection(last).fWidth;
    {
        const QScopedValueRollback<bool> fitting(fIsFitting, true);
        fHeader->resizeSection(
            last, std::max(std::min(fHeader->sectionSize(last), usual), xRoomForLast()));
    }
    xAlign();
}

void KeyColumns::xOnResized(int column, int before, int width) {
    // A column that is hidden or shown again is resized to or from 0.
    if (fIsFitting) {
        return;
    }
    if (before == 0 || width == 0) {
        xFitSoon();
        return;
    }
    // A width of the last column that is not needed would only become visible when it is narrow.
    if (column != xLastColumn() || xRoomForLast() < before) {
        fChosen[static_cast<std::size_t>(column)] = static_cast<double>(width) / xCharacter();
    }
    xStretchLast();
}

/** Aligns the columns of both areas. */
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
