#ifndef OBVISTA_TOOLS_ROBAXI_VALUES_CHANGE_FORMAT_H
#define OBVISTA_TOOLS_ROBAXI_VALUES_CHANGE_FORMAT_H

#include <robaxi/kv_value.h>

#include <cstdint>
#include <string>

namespace robaxi_tool {

/** A new value of a watched key. */
struct ChangeRow {
    std::int64_t fTime = 0;  ///< microseconds since 1970-01-01 UTC
    std::string fKey;
    std::string fUnit;
    KVValue fValue;
};

enum class ChangeFormat { Text, Json, Csv };

/** Returns the header line; empty if there is none. */
std::string headerOf(ChangeFormat format);
/** Returns one line with a line break; safe for a terminal. */
std::string lineOf(ChangeFormat format, const ChangeRow& row);

/** Returns a text of the robot as a field of CSV that no spreadsheet runs as a formula. */
std::string csvText(const std::string& text);
/** Returns a value as a field of CSV. */
std::string csvValue(const KVValue& value);

/** Returns for instance "2024-05-01T12:34:56.789012Z"; "-" outside the years 0 to 9999. */
std::string timeText(std::int64_t microseconds);

}  // namespace robaxi_tool

#endif
