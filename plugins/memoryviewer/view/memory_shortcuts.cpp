#include "view/memory_shortcuts.h"

#include <QCoreApplication>

namespace memoryviewer {

namespace {

QString translated(const char* text) {
    return QCoreApplication::translate("memoryviewer::MemoryShortcuts", text);
}

QString standardKeys(QKeySequence::StandardKey keys) {
    return obvista::keyText(QKeySequence(keys));
}

obvista::KeyGroup viewerKeys() {
    return {translated("Memory viewer"),
            {{standardKeys(QKeySequence::Find), translated("go to the filter")},
             {obvista::keyText(Qt::CTRL + Qt::Key_Space), translated("pause, or go on")},
             {translated("Alt+R"), translated("record to CSV, or stop")}}};
}

obvista::KeyGroup filterKeys() {
    return {translated("Filter"),
            {{translated("Enter, Down"), translated("go to the first key that fits")},
             {translated("Esc"), translated("clear the filter")}}};
}

obvista::KeyGroup treeKeys() {
    return {translated("Keys and watched values"),
            {{translated("arrows, *"), translated("move, open and close a branch; open all below")},
             {translated("letters"), translated("go to a row by its name")},
             {obvista::keyText(Qt::CTRL + Qt::Key_D), translated("watch, or no longer")},
             {obvista::keyText(Qt::CTRL + Qt::Key_P), translated("plot")},
             {translated("F2"), translated("edit the value")},
             {standardKeys(QKeySequence::Undo), translated("undo the last write")},
             {standardKeys(QKeySequence::Copy), translated("copy the chosen rows")},
             {translated("Alt+Up, Alt+Down"), translated("move a watched row")},
             {translated("Delete"), translated("no longer watch")},
             {translated("Menu"), translated("menu of the row")}}};
}

obvista::KeyGroup plotKeys() {
    return {translated("Plots"),
            {{translated("Space"), translated("follow the newest values, or pause")},
             {translated("End"), translated("follow the newest values")},
             {translated("arrows, Page Up, Page Down"), translated("pan")},
             {translated("+, -"), translated("zoom in time")},
             {translated("Ctrl++, Ctrl+-"), translated("zoom in values")},
             {translated("F"), translated("fit the values axis")},
             {translated("Home, 0"), translated("show all points that are kept")},
             {translated("Shift+Left, Shift+Right"), translated("move the cursor")},
             {translated("Esc"), translated("end the cursor")},
             {translated("Delete"), translated("in the legend: remove the curve or the plot")},
             {translated("Menu"), translated("menu of the plot")}}};
}

}  // namespace

std::vector<obvista::KeyGroup> memoryShortcuts() {
    return {viewerKeys(), filterKeys(), treeKeys(), plotKeys()};
}

}  // namespace memoryviewer
