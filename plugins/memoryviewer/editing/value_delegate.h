#ifndef OBVISTA_MEMORYVIEWER_VALUE_DELEGATE_H
#define OBVISTA_MEMORYVIEWER_VALUE_DELEGATE_H

#include <robaxi/kv_value.h>

#include <QIcon>
#include <QStyledItemDelegate>

#include <optional>
#include <tuple>

namespace memoryviewer {

/** What is to be seen of a value beside itself. */
enum class ValueMark {
    None,
    Changed,   ///< it has changed just now
    Pending,   ///< it was written, and the robot has not answered yet
    Accepted,  ///< the robot has taken over what was written just now
    Refused    ///< the robot has refused what was written
};

/** What is shown in a cell beside or in place of its value. */
struct ValueLook {
    ValueMark fMark = ValueMark::None;
    /** What was written, until the robot has refused it or has sent another value. */
    std::optional<QString> fWrittenText;
};

/** The values behind the cells of a view. */
class ValueSource {
  public:
    virtual ~ValueSource() = default;
    /** The present value of a cell that the user may edit; nothing for all others. */
    virtual std::optional<KVValue> editableValue(const QModelIndex& index) const = 0;
    /** The user has entered another value than `before`, which stood there when editing began. */
    virtual void enter(const QModelIndex& index, const KVValue& before, const KVValue& value) = 0;
    virtual ValueLook look(const QModelIndex& index) const = 0;
};

/**
 * Edits and paints the cells of a column of values. Those that can be edited have a pencil.
 *
 * Enter or leaving the field writes the value, Escape gives up. What the robot sends meanwhile does
 * not touch the field. What is no value keeps the field open with a sentence why; leaving it then
 * gives up too.
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
    /** What was entered is no value and was not written. @param problem a sentence */
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
