#ifndef OBVISTA_MEMORYVIEWER_CURVE_LEGEND_H
#define OBVISTA_MEMORYVIEWER_CURVE_LEGEND_H

#include <QPen>
#include <QString>
#include <QTreeWidget>

#include <vector>

namespace memoryviewer {

/** A line of the legend. */
struct LegendEntry {
    int fKey = 0;
    QString fName;  ///< as the robot gave it
    QString fUnit;
    QPen fPen;
};

/** Name and unit as one safe line. */
QString legendText(const LegendEntry& entry);
/** A short line as the curve is drawn. */
QPixmap legendPicture(const QPen& pen, const QPaintDevice& device, int height);

/**
 * The curves of all plots with names, units, colours and values, in a tree with a branch for each
 * plot. Keys are dragged from it to other plots, and taken from elsewhere.
 */
class CurveLegend : public QTreeWidget {
    Q_OBJECT

  public:
    enum Column { NameColumn, ValueColumn };

    explicit CurveLegend(QWidget* parent = nullptr);

    /** Shows these plots; what was selected stays so where it still is. */
    void setPlots(const std::vector<std::vector<LegendEntry>>& plots);
    /** Shows a value of a curve, in all plots where it is. */
    void setValue(int key, const QString& text);
    /** What the values are of: the newest, or those at a time. */
    void setValuesTitle(const QString& title);

    /** The plot of the current line, -1 without one. */
    int currentPlot() const;
    /** The key of the current line, -1 without one. */
    int currentKey() const;
    void setCurrentPlot(int plot);

    QSize sizeHint() const override;

  Q_SIGNALS:
    void removeRequested(int plot, int key);
    void plotChosen(int plot);
    /** @param fromPlot the plot that they are dragged from, -1 when they come from elsewhere */
    void namesDropped(const QStringList& names, int toPlot, int fromPlot);
    void contextMenuRequested(const QPoint& globalPosition);

  protected:
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void changeEvent(QEvent* event) override;
    void startDrag(Qt::DropActions actions) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    static int xPlotOf(const QTreeWidgetItem* item);
    QTreeWidgetItem* xMakeItem(const LegendEntry& entry) const;
    bool xSelect(int plot, int key);

    std::vector<std::vector<LegendEntry>> fPlots;
    bool fIsFilling = false;
};

}  // namespace memoryviewer

#endif
