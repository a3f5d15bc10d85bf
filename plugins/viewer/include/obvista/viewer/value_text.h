#ifndef OBVISTA_VIEWER_VALUE_TEXT_H
#define OBVISTA_VIEWER_VALUE_TEXT_H

#include <obvista/viewer/plain_text.h>
#include <obvista/viewer/viewer_export.h>
#include <robaxi/kv_value.h>

#include <QString>

namespace obvista {

/**
 * Returns a value as one line, independent of the locale: floating-point numbers with a point and
 * at least six significant digits, texts as plainText(), lists and maps in brackets, bytes as their
 * number and the first few in hexadecimal. Empty for a value of nothing. Any thread.
 *
 * @param maxLength in UTF-16 units; an ellipsis follows what was cut
 */
OBVISTA_VIEWER_EXPORT QString valueText(const KVValue& value, int maxLength = a_maxTextLength);

/** Like valueText(), but a floating-point number has every digit that distinguishes it from its
 *  neighbours. */
OBVISTA_VIEWER_EXPORT QString exactValueText(const KVValue& value, int maxLength = a_maxTextLength);

/**
 * Returns a count in groups of three digits with a narrow space between them (ISO 80000-1). The
 * same in every language: a comma or a point would be a decimal sign in some. Any thread.
 */
OBVISTA_VIEWER_EXPORT QString countText(qulonglong count);

/** Returns a duration as a clock shows it: "0:07", "12:05", "1:02:03". Any thread. */
OBVISTA_VIEWER_EXPORT QString clockText(qint64 seconds);

/** Returns a number of bytes in decimal units, with a point in every language: "312.5 kB",
 *  "2.5 MB". Any thread. */
OBVISTA_VIEWER_EXPORT QString sizeText(qint64 bytes);

/** Returns the number that chooses the plural form of a text in tr(). Any thread. */
OBVISTA_VIEWER_EXPORT int pluralOf(qulonglong count);

}  // namespace obvista

#endif
