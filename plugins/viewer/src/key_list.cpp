#include "key_list.h"

#include <QAction>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QScreen>
#include <QScrollBar>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace obvista {

namespace {

constexpr int a_leastCharacters = 80;
/** Part of the screen that the list may take, with room for the window's frame. */
constexpr double a_mostOfScreen = 0.9;

void addGroup(QTreeWidget& list, const KeyGroup& group) {
    auto* title = new QTreeWidgetItem(&list, {group.fTitle});
    QFont bold = list.font();
    bold.setBold(true);
    title->setFont(0, bold);
    title->setFirstColumnSpanned(true);
    for (const KeyHelp& help : group.fKeys) {
        new QTreeWidgetItem(title, {help.fKeys, help.fEffect});
    }
}

}  // namespace

QString keyText(const QKeySequence& keys) {
    return keys.toString(QKeySequence::NativeText);
}

KeyGroup keysOf(const QString& title, const QList<QAction*>& actions) {
    KeyGroup group{title, {}};
    for (const QAction* action : actions) {
        if (!action->shortcut().isEmpty()) {
            QStringList keys;
            for (const QKeySequence& each : action->shortcuts()) {
                keys += keyText(each);
            }
            QString effect = action->text();
            group.fKeys.push_back(
                {keys.join(QStringLiteral(", ")), effect.remove(QLatin1Char('&'))});
        }
    }
    return group;
}

KeyList::KeyList(const QString& title, const std::vector<KeyGroup>& groups, QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("keyList"));
    setWindowTitle(title);
    auto* list = new QTreeWidget(this);
    //: keys of the keyboard, beside what each does
    list->setAccessibleName(tr("Keys"));
    list->setHeaderLabels({tr("Keys"), tr("Effect")});
    list->setRootIsDecorated(false);
    list->setItemsExpandable(false);
    list->setAllColumnsShowFocus(true);
    list->setAlternatingRowColors(true);
    int rowCount = 0;
    for (const KeyGroup& group : groups) {
        addGroup(*list, group);
        rowCount += 1 + static_cast<int>(group.fKeys.size());
    }
    list->expandAll();
    list->setCurrentItem(list->topLevelItem(0));
    list->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* column = new QVBoxLayout(this);
    column->addWidget(list);
    column->addWidget(buttons);

    // All rows, and all of their texts, as far as the screen has room for them.
    const int rows = list->header()->sizeHint().height() + rowCount * list->sizeHintForRow(0) +
                     2 * list->frameWidth();
    int width = 2 * list->frameWidth() + list->verticalScrollBar()->sizeHint().width();
    for (const int section : {0, 1}) {
        width += static_cast<const QAbstractItemView*>(list)->sizeHintForColumn(section);
    }
    const QSize wanted =
        sizeHint() - list->sizeHint() +
        QSize(std::max(width, a_leastCharacters * fontMetrics().averageCharWidth()), rows);
    resize(wanted.boundedTo(a_mostOfScreen * screen()->availableGeometry().size()));
}

}  // namespace obvista
