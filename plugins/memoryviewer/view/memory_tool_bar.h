#ifndef OBVISTA_MEMORYVIEWER_MEMORY_TOOL_BAR_H
#define OBVISTA_MEMORYVIEWER_MEMORY_TOOL_BAR_H

#include <QWidget>

class QBoxLayout;
class QComboBox;
class QHBoxLayout;
class QLineEdit;
class QMenu;
class QToolButton;

namespace memoryviewer {

/** Filter, tree or list, columns, rate and pause of the memory viewer. */
class MemoryToolBar : public QWidget {
    Q_OBJECT

  public:
    explicit MemoryToolBar(QWidget* parent = nullptr);

    QString filter() const;
    void setFilter(const QString& filter);
    /** Shows the error in the filter; empty if there is none. */
    void setFilterFault(const QString& fault);

    bool isFlat() const;
    void setFlat(bool isFlat);

    /** Sets the menu that opens at the columns button. */
    void setColumnMenu(QMenu* menu);

    /** Returns the updates a second. */
    int rate() const;
    /** Selects the nearest available rate. */
    void setRate(int rate);

    bool isPaused() const;

  public Q_SLOTS:
    void focusFilter();
    void togglePause();

  Q_SIGNALS:
    void filterChanged();
    /** Emitted when the user moves by keyboard from the filter to the matching rows. */
    void filterLeft();
    void formChanged();
    void rateChanged();
    void pauseChanged();

  protected:
    bool eventFilter(QObject* object, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    QToolButton* xAddButton(const char* objectName, const QString& text, const QString& hint);

    QBoxLayout* fLayout;  ///< the filter and the controls, in one row or two
    QHBoxLayout* fControls;
    QLineEdit* fFilter;
    QToolButton* fFlat;
    QToolButton* fColumns;
    QComboBox* fRate;
    QToolButton* fPause;
};

}  // namespace memoryviewer

#endif
