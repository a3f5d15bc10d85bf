#ifndef OBVISTA_MEMORYVIEWER_KEY_CELLS_H
#define OBVISTA_MEMORYVIEWER_KEY_CELLS_H

#include "session/memory_key.h"

#include <QString>
#include <QVariant>

namespace memoryviewer {

class KeyStore;

/** Columns of everything that shows keys. */
enum KeyColumn {
    NameColumn,
    ValueColumn,
    UnitColumn,
    TypeColumn,
    RateColumn,
    AgeColumn,
    ColumnCount
};

/** Roles of the models that show keys, beside Qt's. */
enum CellRole {
    MarkedRole = Qt::UserRole,  ///< bool: the value has changed just now
    KeyNameRole,                ///< QString: the key's whole name as the robot gave it
    KeyRole,                    ///< const MemoryKey*; nothing while the robot does not have it
    MissingRole                 ///< bool: the robot does not have the key at present
};

/** What stands in a row of a key, but for its name. */
QString keyCellText(const KeyStore& keys, const MemoryKey& key, int column);

/** The same for every role; the name column has only a tool tip. */
QVariant keyCellData(const KeyStore& keys, const MemoryKey& key, int column, int role);

/** What can be done with a cell beside choosing it: drag it, and edit the value if it can be. */
Qt::ItemFlags keyCellFlags(const MemoryKey& key, int column);

/** Title of a column. */
QVariant keyHeaderData(int column, Qt::Orientation orientation, int role);

/** "0.025 s", "2.51 s", "3:05 min", "2.0 h": three digits behind leading zeros, with a point. */
QString ageText(double seconds);
/** "5.0", "0.20", or "\u2265 10.0" for a lower bound; empty for a key that does not change. */
QString rateText(double perSecond, bool isLowerBound);

/** Seconds since the value's instant. */
double ageOf(const KeyStore& keys, const MemoryKey& key);

/** A row as text to be copied: name, value of at most that length, unit, type, with tabs between.
 */
QString rowText(const MemoryKey& key, int maxValueLength);

}  // namespace memoryviewer

Q_DECLARE_METATYPE(const memoryviewer::MemoryKey*)

#endif
