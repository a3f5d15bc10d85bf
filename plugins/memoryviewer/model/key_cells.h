#ifndef OBVISTA_MEMORYVIEWER_KEY_CELLS_H
#define OBVISTA_MEMORYVIEWER_KEY_CELLS_H

#include "session/memory_key.h"

#include <QString>
#include <QVariant>

namespace memoryviewer {

class KeyStore;

/** Columns of the views that show keys. */
enum KeyColumn {
    NameColumn,
    ValueColumn,
    UnitColumn,
    TypeColumn,
    RateColumn,
    AgeColumn,
    ColumnCount
};

/** Roles of the models that show keys, in addition to Qt's. */
enum CellRole {
    MarkedRole = Qt::UserRole,  ///< bool: the value has just changed
    KeyNameRole,                ///< QString: the key's full name as sent by the robot
    KeyRole,                    ///< const MemoryKey*; nothing while the robot does not have it
    MissingRole                 ///< bool: the robot does not have the key at present
};

/** Returns the text of a cell in a key's row, except for its name. */
QString keyCellText(const KeyStore& keys, const MemoryKey& key, int column);

/** Returns the data of a cell for every role; the name column has only a tool tip. */
QVariant keyCellData(const KeyStore& keys, const MemoryKey& key, int column, int role);

/**
 * Returns the flags of a cell: it can be selected and dragged, and edited if the value is writable.
 */
Qt::ItemFlags keyCellFlags(const MemoryKey& key, int column);

/** Returns the title of a column. */
QVariant keyHeaderData(int column, Qt::Orientation orientation, int role);

/**
 * Returns for instance "0.025 s", "2.51 s", "3:05 min", "2.0 h": three digits after leading zeros,
 * with a decimal point.
 */
QString ageText(double seconds);
/**
 * Returns for instance "5.0", "0.20", or "\u2265 10.0" for a lower bound; empty for a key that does
 * not change.
 */
QString rateText(double perSecond, bool isLowerBound);

/** Returns the seconds since the value's time stamp. */
double ageOf(const KeyStore& keys, const MemoryKey& key);

/**
 * Returns a row as text for copying: name, value of at most that length, unit and type, separated
 * by tabs.
 */
QString rowText(const MemoryKey& key, int maxValueLength);

}  // namespace memoryviewer

Q_DECLARE_METATYPE(const memoryviewer::MemoryKey*)

#endif
