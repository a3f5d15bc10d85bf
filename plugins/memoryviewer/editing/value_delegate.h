#ifndef OBVISTA_MEMORYVIEWER_VALUE_DELEGATE_H
#define OBVISTA_MEMORYVIEWER_VALUE_DELEGATE_H

#include <robaxi/kv_value.h>

#include <QIcon>
#include <QStyledItemDelegate>

#include <optional>
#include <tuple>

namespace memoryviewer {

/** Mark of a value's state. */
enum class ValueMark {
    None,
    Changed,   ///< it has just changed
    Pending,   ///< it was written, and the robot has not answered yet
    Accepted,  ///< the robot has just accepted the written value
    Refused    ///< the robot has refused the written value
};

/** A cell's mark, and the text shown in place of its value. */
struct ValueLook {
    ValueMark fMark = ValueMark::None;
    /** The written value, until the robot has refused it or has sent another one. */
    std::optional<QString> fWrittenText;
};

/** The values of the cells of a view. */
class ValueSource {
  public:
    virtual ~ValueSource() = default;
    /** Returns the current value of a cell that the user may edit; nothing for all others. */
    virtual std::optional<KVValue> editableValue(const QModelIndex& index) const = 0;
    /** Handles a new value; `before` is the value when editing began. */
    virtual void enter(const QModelIndex& index, const KVValue& before, const KVValue& value) = 0;
    virtual ValueLook look(const QModelIndex& index) const = 0;
};

/**
 * Paints and edits the cells of a column of values. Editable cells have a pencil.
 *
 * Enter or leaving the editor writes the value, Escape cancels. Values sent by the robot do not
 * affect an open editor. While the text is invalid, the editor stays open and the reason is shown;
 * leaving it then cancels, too.
 */
class ValueDelegate : public QStyledItemDelegate {
    Q_OBJECT

  public:
    /** @param source must outlive the delegate */
    explicit ValueDelegate(ValueSource* source, QObject* parent = nullptr);

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model,
                      const QModelIndex& index) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;

  Q_SIGNALS:
    /** Emitted when the text was invalid and was not written. @param problem a sentence */
    void entryRefused(const QString& problem) const;

  protected:
    bool eventFilter(QObject* object, QEvent* event) override;
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;

  private:
    const QIcon& xPencil(const QPalette& palette, int size, qreal ratio) const;

    ValueSource* fSource;
    mutable QIcon fPencil;
    mutable std::tuple<QRgb, QRgb, int, qreal> fPencilLook;
};

}  // namespace memoryviewer

#endif
