#ifndef OBVISTA_VIEWER_WRAP_LAYOUT_H
#define OBVISTA_VIEWER_WRAP_LAYOUT_H

#include <obvista/viewer/viewer_export.h>

#include <QLayout>
#include <QSize>

#include <memory>
#include <vector>

namespace obvista {

/**
 * A row of widgets that wraps into further rows: a narrow dock keeps all of them accessible, while
 * a tool bar would hide those at its end.
 *
 * Each widget gets its preferred size, limited by the available width.
 */
class OBVISTA_VIEWER_EXPORT WrapLayout : public QLayout {
  public:
    /** @param parent the widget that gets this layout */
    explicit WrapLayout(QWidget* parent);
    ~WrapLayout() override;
    WrapLayout(const WrapLayout&) = delete;
    WrapLayout& operator=(const WrapLayout&) = delete;

    void addItem(QLayoutItem* item) override;       ///< Takes ownership
    int count() const override;                     ///< Number of items
    QLayoutItem* itemAt(int index) const override;  ///< Null behind the last one
    QLayoutItem* takeAt(int index) override;        ///< The caller owns the item.

    Qt::Orientations expandingDirections() const override { return {}; }  ///< None
    bool hasHeightForWidth() const override { return true; }              ///< Rows wrap
    int heightForWidth(int width) const override;  ///< Height of the rows, in pixels
    /** Returns the size of a single row. */
    QSize sizeHint() const override;
    QSize minimumSize() const override;            ///< Size of the largest item
    void setGeometry(const QRect& rect) override;  ///< Lays the items out in rows

  private:
    struct Place {
        QLayoutItem* fItem;
        QRect fRect;
    };
    std::vector<Place> xPlaces(const QRect& rect) const;
    QSize xMargins() const;

    std::vector<std::unique_ptr<QLayoutItem>> fItems;
};

}  // namespace obvista

#endif
