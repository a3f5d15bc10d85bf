#ifndef OBVISTA_MEMORYVIEWER_MEMORY_TOOL_BAR_H
#define OBVISTA_MEMORYVIEWER_MEMORY_TOOL_BAR_H

#include <QWidget>

class QComboBox;
class QLineEdit;
class QMenu;
class QToolButton;

namespace memoryviewer {

/** Filter, form of the tree, columns, rate and pause of the memory viewer. */
class MemoryToolBar : public QWidget {
    Q_OBJECT

  public:
    explicit MemoryToolBar(QWidget* parent = nullptr);

    QString filter() const;
    void setFilter(const QString& filter);
    /** Says what is wrong with the filter; empty when nothing is. */
    void setFilterFault(const QString& fault);

    bool isFlat() const;
    void setFlat(bool isFlat);

    /** The menu that opens at the button for columns. */
    void setColumnMenu(QMenu* menu);

    /** Updates a second. */
    int rate() const;
    /** The nearest rate that is offered. */
    void setRate(int rate);

    bool isPaused() const;

  public Q_SLOTS:
    void focusFilter();
    void togglePause();

  Q_SIGNALS:
    void filterChanged();
    /** The user turns by keyboard from the filter to what it shows. */
    void filterLeft();
    void formChanged();
    void rateChanged();
    void pauseChanged();

  protected:
    bool eventFilter(QObject* object, QEvent* event) override;

  private:
    QToolButton* xAddButton(const char* objectName, const QString& text, const QString& hint);

    QLineEdit* fFilter;
    QToolButton* fFlat;
    QToolButton* fColumns;
    QComboBox* fRate;
    QToolButton* fPause;
};

}  // namespace memoryviewer

#endif
