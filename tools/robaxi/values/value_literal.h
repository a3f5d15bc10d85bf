#ifndef OBVISTA_TOOLS_ROBAXI_VALUES_VALUE_LITERAL_H
#define OBVISTA_TOOLS_ROBAXI_VALUES_VALUE_LITERAL_H

#include <robaxi/kv_value.h>

#include <string>

namespace robaxi_tool {

/**
 * Returns the value of an argument: true, false, null (nothing), an integer, a floating-point
 * number (with decimal point or exponent), a "text", a [list] or a {"map": 1}, in JSON syntax. Any
 * other argument is a text, unless it starts with a quote, a bracket or a brace.
 *
 * @throws UsageError if it starts like a literal and is invalid, if a number does not fit or if a
 *         text is not UTF-8
 */
KVValue parseLiteral(const std::string& argument);

}  // namespace robaxi_tool

#endif
