#ifndef OBVISTA_MEMORYVIEWER_VALUE_ENTRY_H
#define OBVISTA_MEMORYVIEWER_VALUE_ENTRY_H

#include <robaxi/kv_value.h>

#include <QString>

#include <optional>

namespace memoryviewer {

/** Whether values of a type can be entered by hand: bool, int, float, string. */
bool isEnterable(KVValue::Type type);

/** A value as it is edited: numbers with a point and all their digits, texts as they are. */
QString entryText(const KVValue& value);

/** What was entered. */
struct Entry {
    std::optional<KVValue> fValue;  ///< nothing when it is no value of the type
    QString fProblem;               ///< then a sentence for the user
};

/**
 * Reads what the user has entered for a value of a type.
 *
 * Numbers have a decimal point in every locale. A comma is refused with a sentence, since it may be
 * meant as a decimal comma or between thousands, and a robot must not be told another number than
 * was meant.
 */
Entry readEntry(const QString& text, KVValue::Type type);

}  // namespace memoryviewer

#endif
