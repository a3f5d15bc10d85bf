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
 * Widths of the columns of the tree, and of the watch list, whose columns stand below them.
 *
 * The names get the room that they need, and what is left over stays at the end. Where there is
 * less room, the value and the columns behind it first give what they have to spare; then those at
 * the end leave for the right, where they are scrolled to, until the names have some room; at last
 * the names are cut. The value column always stays. Widths that the user chooses are kept in
 * characters, so that they follow the font.
 */
class KeyColumns : public QObject {
    Q_OBJECT

  public:
    /** Both outlive this. */
    KeyColumns(KeyView* tree, KeyView* watch, QObject* parent);

    /** Widths chosen by the user, in characters, 0 for the others. */
    QVariantList saved() const;
    /** Restores order and choice of columns from a header's state, and chosen widths. */
    void restore(const QByteArray& header, const QVariantList& widths);
    /** The names shown are quite others: the room for them is measured from the beginning. */
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
    void xMeasureNames();
    void xFit();
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
    std::array<double, ColumnCount> fChosen{};
    int fNames = 0;  ///< widest of the names seen, in pixels
    bool fIsFitting = false;
};

}  // namespace memoryviewer

#endif
