#include "view/memory_shortcuts.h"

#include <QCoreApplication>

namespace memoryviewer {

namespace {

/** The texts of this file in the catalogues of translations. */
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(memoryviewer::MemoryShortcuts)
};

QString standardKeys(QKeySequence::StandardKey keys) {
    return obvista::keyText(QKeySequence(keys));
}

obvista::KeyGroup viewerKeys() {
    return {Texts::tr("Memory viewer"),
            {{standardKeys(QKeySequence::Find), Texts::tr("go to the filter")},
             {obvista::keyText(Qt::CTRL + Qt::Key_Space), Texts::tr("pause or resume")},
             //: must be the key of "&Record…"
             {Texts::tr("Alt+R"), Texts::tr("start or stop recording")}}};
}

obvista::KeyGroup filterKeys() {
    return {Texts::tr("Filter"),
            {{Texts::tr("Enter, Down"), Texts::tr("go to the first matching key")},
             {Texts::tr("Esc"), Texts::tr("clear the filter")}}};
}

obvista::KeyGroup treeKeys() {
    return {Texts::tr("Keys and watched values"),
            {{Texts::tr("arrows, *"), Texts::tr("move, open and close a branch; open all below")},
             {Texts::tr("letters"), Texts::tr("go to a row by its name")},
             {obvista::keyText(Qt::CTRL + Qt::Key_D), Texts::tr("watch or stop watching")},
             {obvista::keyText(Qt::CTRL + Qt::Key_P), Texts::tr("plot")},
             {Texts::tr("F2"), Texts::tr("edit the value")},
             {standardKeys(QKeySequence::Undo), Texts::tr("undo the last write")},
             {standardKeys(QKeySequence::Copy), Texts::tr("copy the selected rows")},
             {Texts::tr("Alt+Up, Alt+Down"), Texts::tr("move a watched row")},
             {Texts::tr("Delete"), Texts::tr("stop watching")},
             {Texts::tr("Menu"), Texts::tr("menu of the row")}}};
}

obvista::KeyGroup plotKeys() {
    return {Texts::tr("Plots"),
            {{Texts::tr("Space"), Texts::tr("follow the newest values, or pause")},
             {Texts::tr("End"), Texts::tr("follow the newest values")},
             {Texts::tr("arrows, Page Up, Page Down"), Texts::tr("pan")},
             {Texts::tr("+, -"), Texts::tr("zoom in time")},
             {Texts::tr("Ctrl++, Ctrl+-"), Texts::tr("zoom in values")},
             {Texts::tr("F"), Texts::tr("fit the values axis")},
             {Texts::tr("Home, 0"), Texts::tr("show all stored points")},
             {Texts::tr("Shift+Left, Shift+Right"), Texts::tr("move the cursor")},
             {Texts::tr("Esc"), Texts::tr("hide the cursor")},
             {Texts::tr("Delete"), Texts::tr("in the legend: remove the curve or the plot")},
             {Texts::tr("Menu"), Texts::tr("menu of the plot")}}};
}

}  // namespace

std::vector<obvista::KeyGroup> memoryShortcuts() {
    return {viewerKeys(), filterKeys(), treeKeys(), plotKeys()};
}

}  // namespace memoryviewer
