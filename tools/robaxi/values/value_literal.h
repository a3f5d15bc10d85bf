#ifndef OBVISTA_TOOLS_ROBAXI_VALUES_VALUE_LITERAL_H
#define OBVISTA_TOOLS_ROBAXI_VALUES_VALUE_LITERAL_H

#include <robaxi/kv_value.h>

#include <string>

namespace robaxi_tool {

/**
 * The value that an argument stands for: true, false, null (nothing), a whole number, a decimal
 * number (with point or exponent), a "text", a [list] or a {"map": 1}, written as in JSON. Whatever
 * is none of these is taken as a text as it stands, unless it starts with a quote, a bracket or a
 * brace.
 *
 * @throws UsageError when it starts like a literal and is none, when a number does not fit or when
 *         a text is not UTF-8
 */
KVValue parseLiteral(const std::string& argument);

}  // namespace robaxi_tool

#endif
