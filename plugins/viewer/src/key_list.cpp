#include "key_list.h"

#include <QAction>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace obvista {

namespace {

constexpr int a_widthInCharacters = 90;
constexpr int a_heightInLines = 36;

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
    list->setAccessibleName(tr("Keys"));
    list->setHeaderLabels({tr("Keys"), tr("Effect")});
    list->setRootIsDecorated(false);
    list->setItemsExpandable(false);
    list->setAllColumnsShowFocus(true);
    list->setAlternatingRowColors(true);
    for (const KeyGroup& group : groups) {
        addGroup(*list, group);
    }
    list->expandAll();
    list->setCurrentItem(list->topLevelItem(0));
    list->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* column = new QVBoxLayout(this);
    column->addWidget(list);
    column->addWidget(buttons);
    resize(a_widthInCharacters * fontMetrics().averageCharWidth(),
           a_heightInLines * fontMetrics().height());
}

}  // namespace obvista
