#ifndef OBVISTA_MEMORYVIEWER_VALUE_TEXT_H
#define OBVISTA_MEMORYVIEWER_VALUE_TEXT_H

#include <robaxi/kv_value.h>

#include <QString>

#include <string>

namespace memoryviewer {

/** Most characters (UTF-16 units) that are shown of any one text or value; an ellipsis follows. */
constexpr int a_maxTextLength = 1000;

/**
 * A text from the robot as one line that is safe to show as plain text.
 *
 * Control characters, and others that are invisible or change the direction of what follows, are
 * escaped ("\n", "\x1b", "\u{202e}"), and so is the backslash, to be told from them. Bytes that are
 * not UTF-8 become U+FFFD. It costs no more for a text of many megabytes than for a short one.
 */
QString plainText(const std::string& utf8, int maxLength = a_maxTextLength);

/**
 * A value as one line, independent of the locale: floating-point numbers with a point and at least
 * six significant digits, texts as plainText(), lists and maps in brackets, bytes as their number
 * and the first few in hexadecimal. Empty for a value of nothing.
 */
QString valueText(const KVValue& value, int maxLength = a_maxTextLength);

/** Like valueText(), but a floating-point number has every digit that tells it from its
 *  neighbours. */
QString exactValueText(const KVValue& value, int maxLength = a_maxTextLength);

}  // namespace memoryviewer

#endif
