#ifndef OBVISTA_MEMORYVIEWER_KEY_COLUMNS_H
#define OBVISTA_MEMORYVIEWER_KEY_COLUMNS_H

#include "model/key_cells.h"

#include <QObject>
#include <QTimer>
#include <QVariantList>

#include <array>
#include <vector>

class QHeaderView;

namespace memoryviewer {

class KeyView;

/**
 * Column widths of the tree and of the watch list, whose columns are aligned with it.
 *
 * The name column is as wide as its names need. The value column grows with long values while there
 * is space, and the last column fills the rest. If there is less space, the value column and those
 * after it shrink to their minimum; then the last columns move out of view to the right, where they
 * can be scrolled to, until the names have some space; finally the names are cut. The value column
 * is always visible. Widths chosen by the user are stored in characters, so that they scale with
 * the font.
 */
class KeyColumns : public QObject {
    Q_OBJECT

  public:
    /** Both must outlive this object. */
    KeyColumns(KeyView* tree, KeyView* watch, QObject* parent);

    /** Returns the widths chosen by the user, in characters, 0 for the others. */
    QVariantList saved() const;
    /** Restores order and visibility of columns from a header's state, and chosen widths. */
    void restore(const QByteArray& header, const QVariantList& widths);
    /** Resets the measured widths of names and values; called when other names are shown. */
    void forgetNames();

  protected:
    bool eventFilter(QObject* object, QEvent* event) override;

  private:
    struct Section {
        int fColumn;
        int fWidth;
        int fLeast;
    };

    void xConnect(KeyView* view);
    void xMeasure();
    void xFit();
    void xStretchLast();
    int xLastColumn() const;
    int xNameWidth() const;
    int xRoomForLast() const;
    void xFitSoon() { fFitTimer.start(0); }
    std::vector<Section> xSections() const;
    Section xSection(int column) const;
    int xCharacter() const;
    void xAlign();
    void xOnResized(int column, int before, int width);

    KeyView* fTree;
    KeyView* fWatch;
    QHeaderView* fHeader;
    QTimer fFitTimer;
    QTimer fValueTimer;
    std::array<double, ColumnCount> fChosen{};
    int fNames = 0;   ///< maximum width of the visible names, in pixels
    int fValues = 0;  ///< the same of the values, as long as they are short enough
    bool fIsFitting = false;
};

}  // namespace memoryviewer

#endif
