#include "view/memory_tool_bar.h"

#include <obvista/viewer/colours.h>
#include <obvista/viewer/labels.h>

#include <QComboBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QToolButton>

#include <array>
#include <cstdlib>
#include <initializer_list>

namespace memoryviewer {

namespace {

constexpr std::array<int, 6> a_rates{1, 2, 5, 10, 20, 50};
constexpr int a_defaultRate = 10;
constexpr int a_longestFilter = 500;
/** Width of the filter in characters below which it gets a separate row. */
constexpr int a_leastWidthOfFilter = 16;

}  // namespace

MemoryToolBar::MemoryToolBar(QWidget* parent)
    : QWidget(parent),
      fLayout(new QBoxLayout(QBoxLayout::LeftToRight, this)),
      fControls(new QHBoxLayout),
      fFilter(new QLineEdit(this)),
      fRate(new QComboBox(this)) {
    fFilter->setObjectName(QStringLiteral("memoryFilter"));
    fFilter->setAccessibleName(tr("Filter"));
    fFilter->setPlaceholderText(tr("Filter: words, re:, type:, changed:"));
    fFilter->setToolTip(
        tr("Shows the keys that match every term:\n"
           "head pos\twords in the name\n"
           "-yaw\tnot in the name (before any term)\n"
           "re:Joint\\d+\tregular expression\n"
           "type:float\ttype of the value\n"
           "changed:30\tchanged in the last 30 s (5 when nothing is said)"));
    fFilter->setClearButtonEnabled(true);
    fFilter->findChild<QToolButton*>()->setAccessibleName(tr("Clear the filter"));
    fFilter->setMaxLength(a_longestFilter);
    fFilter->installEventFilter(this);
    connect(fFilter, &QLineEdit::textChanged, this, &MemoryToolBar::filterChanged);
    connect(fFilter, &QLineEdit::returnPressed, this, &MemoryToolBar::filterLeft);

    //: show the keys as a list instead of a tree
    fFlat = xAddButton("memoryFlat", tr("List"), tr("Keys by their full names instead of a tree"));
    connect(fFlat, &QToolButton::toggled, this, &MemoryToolBar::formChanged);
    fColumns = xAddButton("memoryColumns", tr("Columns"), tr("Choose the columns"));
    fColumns->setCheckable(false);
    fColumns->setPopupMode(QToolButton::InstantPopup);
    fPause = xAddButton("memoryPause", tr("Pause"), tr("Pause updates (Ctrl+Space)"));
    connect(fPause, &QToolButton::toggled, this, &MemoryToolBar::pauseChanged);

    fRate->setObjectName(QStringLiteral("memoryRate"));
    obvista::nameByLabel(*fRate, tr("Updates a second"));
    fRate->setToolTip(tr("How often the robot sends changed values"));
    for (const int rate : a_rates) {
        fRate->addItem(tr("%1 Hz").arg(rate), rate);
    }
    setRate(a_defaultRate);
    connect(fRate, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &MemoryToolBar::rateChanged);

    const int space = fontMetrics().height() / 4;
    fLayout->setContentsMargins(space, space, space, space);
    fLayout->addWidget(fFilter, 1);
    fLayout->addLayout(fControls);
    for (QWidget* control : std::initializer_list<QWidget*>{fFlat, fColumns, fRate, fPause}) {
        fControls->addWidget(control);
    }
    fControls->addStretch();
    setTabOrder(fFilter, fFlat);
    setTabOrder(fFlat, fColumns);
    setTabOrder(fColumns, fRate);
    setTabOrder(fRate, fPause);
}

QToolButton* MemoryToolBar::xAddButton(const char* objectName, const QString& text,
                                       const QString& hint) {
    auto* button = new QToolButton(this);
    button->setObjectName(QLatin1String(objectName));
    button->setText(text);
    button->setToolTip(hint);
    button->setCheckable(true);
    button->setFocusPolicy(Qt::TabFocus);
    return button;
}

QString MemoryToolBar::filter() const {
    return fFilter->text();
}

void MemoryToolBar::setFilter(const QString& filter) {
    fFilter->setText(filter);
}

void MemoryToolBar::setFilterFault(const QString& fault) {
    QPalette colours = palette();
    if (!fault.isEmpty()) {
        colours.setColor(QPalette::Text, obvista::faultText(colours));
    }
    fFilter->setPalette(colours);
    fFilter->setAccessibleDescription(fault);
}

bool MemoryToolBar::isFlat() const {
    return fFlat->isChecked();
}

void MemoryToolBar::setFlat(bool isFlat) {
    fFlat->setChecked(isFlat);
}

void MemoryToolBar::setColumnMenu(QMenu* menu) {
    fColumns->setMenu(menu);
}

int MemoryToolBar::rate() const {
    return fRate->currentData().toInt();
}

void MemoryToolBar::setRate(int rate) {
    int nearest = 0;
    for (int index = 1; index < fRate->count(); ++index) {
        const auto distance = [&](int at) { return std::abs(fRate->itemData(at).toInt() - rate); };
        nearest = distance(index) < distance(nearest) ? index : nearest;
    }
    fRate->setCurrentIndex(nearest);
}

bool MemoryToolBar::isPaused() const {
    return fPause->isChecked();
}

/** In the filter, keys move to the matching rows, or clear it. */
bool MemoryToolBar::eventFilter(QObject* object, QEvent* event) {
    if (object != fFilter || event->type() != QEvent::KeyPress) {
        return QWidget::eventFilter(object, event);
    }
    const int key = dynamic_cast<QKeyEvent&>(*event).key();
    if (key == Qt::Key_Escape && !filter().isEmpty()) {
        fFilter->clear();
        return true;
    }
    if (key == Qt::Key_Down) {
        Q_EMIT filterLeft();
        return true;
    }
    return QWidget::eventFilter(object, event);
}

void MemoryToolBar::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    const int room = width() - fControls->sizeHint().width();
    const bool isNarrow = room < a_leastWidthOfFilter * fontMetrics().averageCharWidth();
    fLayout->setDirection(isNarrow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
}

void MemoryToolBar::focusFilter() {
    fFilter->setFocus(Qt::ShortcutFocusReason);
    fFilter->selectAll();
}

void MemoryToolBar::togglePause() {
    fPause->toggle();
}

}  // namespace memoryviewer
