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
    QString fName;  ///< as sent by the robot
    QString fUnit;
    QPen fPen;
};

/** Returns name and unit as one safe line. */
QString legendText(const LegendEntry& entry);
/** Returns a short line in the curve's style. */
QPixmap legendPicture(const QPen& pen, const QPaintDevice& device, int height);

/**
 * The curves of all plots with names, units, colours and values, as a tree with a branch for each
 * plot. Keys can be dragged to other plots, and dropped from elsewhere.
 */
class CurveLegend : public QTreeWidget {
    Q_OBJECT

  public:
    enum Column { NameColumn, ValueColumn };

    explicit CurveLegend(QWidget* parent = nullptr);

    /** Shows these plots; the selection is kept where it still exists. */
    void setPlots(const std::vector<std::vector<LegendEntry>>& plots);
    /** Shows a value of a curve, in all plots that contain it. */
    void setValue(int key, const QString& text);
    /** Sets the title of the values: the newest, or those at a time. */
    void setValuesTitle(const QString& title);

    /** Returns the plot of the current line, -1 if there is none. */
    int currentPlot() const;
    /** Returns the key of the current line, -1 if there is none. */
    int currentKey() const;
    void setCurrentPlot(int plot);

    QSize sizeHint() const override;

  Q_SIGNALS:
    void removeRequested(int plot, int key);
    void plotChosen(int plot);
    /** @param fromPlot the plot from which they are dragged, -1 if they come from elsewhere */
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
