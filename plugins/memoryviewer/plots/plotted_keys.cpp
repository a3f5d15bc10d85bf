#include "plots/plotted_keys.h"

#include <set>

namespace memoryviewer {

int PlottedKeys::add(const QString& name, const QString& unit, CurveShape shape) {
    const int key = fNext++;
    fKeys[key] = {name, unit, shape, xFreeColour()};
    fHandles.insert(name, key);
    return key;
}

void PlottedKeys::remove(int key) {
    fHandles.remove(fKeys.at(key).fName);
    fKeys.erase(key);
}

bool PlottedKeys::describe(const QString& name, const QString& unit, CurveShape shape) {
    const auto key = fKeys.find(find(name));
    if (key == fKeys.end() || (key->second.fUnit == unit && key->second.fShape == shape)) {
        return false;
    }
    key->second.fUnit = unit;
    key->second.fShape = shape;
    return true;
}

QStringList PlottedKeys::names() const {
    QStringList names;
    for (const auto& [key, description] : fKeys) {
        names += description.fName;
    }
    return names;
}

int PlottedKeys::xFreeColour() const {
    std::set<int> used;
    for (const auto& [key, description] : fKeys) {
        used.insert(description.fColour);
    }
    int colour = 0;
    while (used.count(colour) != 0) {
        ++colour;
    }
    return colour;
}

}  // namespace memoryviewer
