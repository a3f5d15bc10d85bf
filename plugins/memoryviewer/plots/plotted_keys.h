#ifndef OBVISTA_MEMORYVIEWER_PLOTTED_KEYS_H
#define OBVISTA_MEMORYVIEWER_PLOTTED_KEYS_H

#include "plots/curve_history.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <functional>
#include <map>
#include <optional>

namespace memoryviewer {

/** Metadata of a plotted key. */
struct PlottedKey {
    QString fName;  ///< as sent by the robot
    QString fUnit;
    CurveShape fShape = CurveShape::Line;
    int fColour = 0;  ///< see curvePen()
};

/** A value of a plotted key. */
struct PlotSample {
    int fKey = -1;      ///< see PlotPanel::keyHandle()
    qint64 fTime = 0;   ///< microseconds by the robot's clock
    double fValue = 0;  ///< NaN makes a gap
};

/** Finds the metadata of a key by its name; nothing if it has no numbers. */
using KeyLookup = std::function<std::optional<PlottedKey>(const QString&)>;

/** Finds the current number of a key by its name, NaN for other values; nothing if it is unknown.
 */
using ValueLookup = std::function<std::optional<double>(const QString&)>;

/** The plotted keys, each once, with handles that are not reused. */
class PlottedKeys {
  public:
    static constexpr int a_most = 100;

    /** @return the handle of a name, -1 if it is not contained */
    int find(const QString& name) const { return fHandles.value(name, -1); }
    bool isFull() const { return static_cast<int>(fKeys.size()) >= a_most; }
    /** Adds a name that is not contained, with an unused colour. @return its handle */
    int add(const QString& name, const QString& unit, CurveShape shape);
    void remove(int key);
    /** @return true if the metadata has changed; false for an unknown name */
    bool describe(const QString& name, const QString& unit, CurveShape shape);

    /** The key must be contained. */
    const PlottedKey& at(int key) const { return fKeys.at(key); }
    /** Returns the keys by handle, in the order in which they were added. */
    const std::map<int, PlottedKey>& all() const { return fKeys; }
    QStringList names() const;

  private:
    int xFreeColour() const;

    std::map<int, PlottedKey> fKeys;
    QHash<QString, int> fHandles;
    int fNext = 0;
};

}  // namespace memoryviewer

#endif
