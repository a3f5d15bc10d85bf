#ifndef OBVISTA_MEMORYVIEWER_VALUE_TEXT_H
#define OBVISTA_MEMORYVIEWER_VALUE_TEXT_H

#include <obvista/viewer/plain_text.h>
#include <robaxi/kv_value.h>

#include <QString>

namespace memoryviewer {

using viewer::a_maxTextLength;
using viewer::plainText;

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
