#include "editing/value_delegate.h"

#include "editing/value_entry.h"

#include <obvista/viewer/colours.h>

#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QToolTip>
#include <QVariant>

namespace memoryviewer {

namespace {

constexpr qreal a_markStrength = 0.25;

/** The editor's initial text and value, stored with the editor. */
struct Beginning {
    KVValue fValue;
    QString fText;
};

constexpr char a_beginningProperty[] = "obvistaBeginning";

}  // namespace

}  // namespace memoryviewer

Q_DECLARE_METATYPE(memoryviewer::Beginning)

namespace memoryviewer {

namespace {

Beginning beginningOf(const QWidget* editor) {
    return editor->property(a_beginningProperty).value<Beginning>();
}

QString textIn(const QWidget* editor) {
    if (const auto* choice = qobject_cast<const QComboBox*>(editor)) {
        return choice->currentText();
    }
    const auto* line = qobject_cast<const QLineEdit*>(editor);
    return line != nullptr ? line->text() : QString();
}

Entry entryIn(const QWidget* editor) {
    return readEntry(textIn(editor), beginningOf(editor).fValue.type());
}

void showProblem(QWidget* editor, const QString& problem) {
    const QString text = QStringLiteral("<p>%1</p>").arg(problem.toHtmlEscaped());
    QToolTip::showText(editor->mapToGlobal(QPoint(0, editor->height())), text, editor);
    editor->setAccessibleDescription(problem);
}

QColor colourOf(ValueMark mark, const QPalette& palette) {
    switch (mark) {
        case ValueMark::Accepted:
            return Qt::darkGreen;
        case ValueMark::Refused:
            return Qt::red;
        default:
            return palette.color(QPalette::Highlight);
    }
}

/** Draws a pencil that points to the lower left. */
QPixmap pencil(const QColor& colour, int size, qreal ratio) {
    QPixmap picture(QSize(size, size) * ratio);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size, size);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawPolygon(QVector<QPointF>{{0.05, 0.95}, {0.12, 0.68}, {0.32, 0.88}});
    painter.drawPolygon(QVector<QPointF>{{0.18, 0.62}, {0.72, 0.08}, {0.92, 0.28}, {0.38, 0.82}});
    return picture;
}

QColor tint(QColor colour) {
    colour.setAlphaF(a_markStrength);
    return colour;
}

}  // namespace

ValueDelegate::ValueDelegate(ValueSource* source, QObject* parent)
    : QStyledItemDelegate(parent), fSource(source) {
}

QWidget* ValueDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& /*option*/,
                                     const QModelIndex& index) const {
    const std::optional<KVValue> value = fSource->editableValue(index);
    if (!value || !isEnterable(value->type())) {
        return nullptr;
    }
    QWidget* editor = nullptr;
    const QString text = entryText(*value);
    if (value->type() == KVValue::Type::Bool) {
        auto* choice = new QComboBox(parent);
        choice->addItems({QStringLiteral("false"), QStringLiteral("true")});
        choice->setCurrentText(text);
        editor = choice;
    } else {
        auto* line = new QLineEdit(text, parent);
        line->setFrame(false);
        line->selectAll();
        editor = line;
    }
    editor->setObjectName(QStringLiteral("valueEditor"));
    editor->setAccessibleName(tr("New value"));
    editor->setAutoFillBackground(true);
    editor->setProperty(a_beginningProperty,
                        QVariant::fromValue(Beginning{*value, textIn(editor)}));
    return editor;
}

/** Does nothing: the view calls this whenever the value changes, and the user's text must stay. */
void ValueDelegate::setEditorData(QWidget* /*editor*/, const QModelIndex& /*index*/) const {
}

void ValueDelegate::setModelData(QWidget* editor, QAbstractItemModel* /*model*/,
                                 const QModelIndex& index) const {
    const Beginning beginning = beginningOf(editor);
    // An editor whose text was not changed must not write, least of all an outdated value.
    if (textIn(editor) == beginning.fText) {
        return;
    }
    const Entry entry = entryIn(editor);
    if (entry.fValue) {
        fSource->enter(index, beginning.fValue, *entry.fValue);
    } else {
        Q_EMIT entryRefused(entry.fProblem);
    }
}

bool ValueDelegate::eventFilter(QObject* object, QEvent* event) {
    auto* editor = qobject_cast<QWidget*>(object);
    if (editor != nullptr && event->type() == QEvent::KeyPress) {
        const int key = dynamic_cast<QKeyEvent&>(*event).key();
        const bool isEnd = key == Qt::Key_Return || key == Qt::Key_Enter;
        const bool isUnchanged = textIn(editor) == beginningOf(editor).fText;
        const Entry entry = isEnd && !isUnchanged ? entryIn(editor) : Entry();
        if (!entry.fProblem.isEmpty()) {
            showProblem(editor, entry.fProblem);
            return true;
        }
    }
    return QStyledItemDelegate::eventFilter(object, event);
}

void ValueDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const {
    QStyledItemDelegate::initStyleOption(option, index);
    const ValueLook look = fSource->look(index);
    option->text = look.fWrittenText.value_or(option->text);
    if (index.flags().testFlag(Qt::ItemIsEditable)) {
        const int size = option->fontMetrics.height() * 3 / 4;
        option->features |= QStyleOptionViewItem::HasDecoration;
        option->decorationSize = {size, size};
        option->icon = xPencil(option->palette, size,
                               option->widget != nullptr ? option->widget->devicePixelRatioF() : 1);
    }
    switch (look.fMark) {
        case ValueMark::Pending:
            option->font.setItalic(true);
            option->text += tr(" (being written\u2026)");
            break;
        case ValueMark::Accepted:
            option->text += tr(" (written)");
            break;
        case ValueMark::Refused:
            option->text += tr(" (not written)");
            break;
        case ValueMark::Changed:
        case ValueMark::None:
            break;
    }
}

/** Drawn once for all cells with the same look. */
const QIcon& ValueDelegate::xPencil(const QPalette& palette, int size, qreal ratio) const {
    const QColor colour = obvista::dimmedText(palette);
    const QColor& chosen = palette.color(QPalette::HighlightedText);
    const auto look = std::make_tuple(colour.rgba(), chosen.rgba(), size, ratio);
    if (look != fPencilLook) {
        fPencilLook = look;
        fPencil = QIcon(pencil(colour, size, ratio));
        fPencil.addPixmap(pencil(chosen, size, ratio), QIcon::Selected);
    }
    return fPencil;
}

void ValueDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const {
    const ValueMark mark = fSource->look(index).fMark;
    QStyleOptionViewItem marked = option;
    if (mark != ValueMark::None && mark != ValueMark::Pending) {
        painter->fillRect(option.rect, tint(colourOf(mark, option.palette)));
        if (option.state.testFlag(QStyle::State_Selected)) {
            // The style paints over the tint.
            marked.palette.setColor(QPalette::Highlight, obvista::markedHighlight(option.palette));
        }
    }
    QStyledItemDelegate::paint(painter, marked, index);
}

}  // namespace memoryviewer
