#ifndef OBVISTA_MEMORYVIEWER_VALUE_ENTRY_H
#define OBVISTA_MEMORYVIEWER_VALUE_ENTRY_H

#include <robaxi/kv_value.h>

#include <QString>

#include <optional>

namespace memoryviewer {

/** Returns true if values of a type can be entered by hand: bool, int, float, string. */
bool isEnterable(KVValue::Type type);

/**
 * Returns a value for editing: numbers with a decimal point and all their digits, texts unchanged.
 */
QString entryText(const KVValue& value);

/** Result of parsing a user's input. */
struct Entry {
    std::optional<KVValue> fValue;  ///< nothing if it is not a valid value of the type
    QString fProblem;               ///< in that case a sentence for the user
};

/**
 * Parses the user's input for a value of a type.
 *
 * Numbers have a decimal point in every locale. A comma is rejected with a message, since it may be
 * a decimal comma or a thousands separator, and a robot must not receive another number than the
 * intended one.
 */
Entry readEntry(const QString& text, KVValue::Type type);

}  // namespace memoryviewer

#endif
