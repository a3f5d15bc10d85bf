#include "values/change_format.h"

#include "values/safe_text.h"
#include "values/value_text.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace robaxi_tool {

namespace {

constexpr std::int64_t a_microsecondsOfSecond = 1000000;

std::string textLine(const ChangeRow& row) {
    return timeText(row.fTime) + ' ' + oneLine(row.fKey) + ' ' + valueText(row.fValue) +
           (row.fUnit.empty() ? "" : ' ' + oneLine(row.fUnit)) + '\n';
}

std::string jsonOfChange(const ChangeRow& row) {
    return jsonLine({{"time", timeText(row.fTime)},
                     {"key", row.fKey},
                     {"value", valueJson(row.fValue)},
                     {"unit", row.fUnit}});
}

std::string csvLine(const ChangeRow& row) {
    const bool isText = row.fValue.type() == KVValue::Type::String;
    return timeText(row.fTime) + ',' + csvText(row.fKey) + ',' +
           (isText ? csvText(row.fValue.toString()) : csvField(valueText(row.fValue))) + ',' +
           csvText(row.fUnit) + '\n';
}

}  // namespace

std::string headerOf(ChangeFormat format) {
    return format == ChangeFormat::Csv ? "time,key,value,unit\n" : "";
}

std::string lineOf(ChangeFormat format, const ChangeRow& row) {
    switch (format) {
        case ChangeFormat::Json:
            return jsonOfChange(row);
        case ChangeFormat::Csv:
            return csvLine(row);
        case ChangeFormat::Text:
            break;
    }
    return textLine(row);
}

std::string timeText(std::int64_t microseconds) {
    std::int64_t seconds = microseconds / a_microsecondsOfSecond;
    std::int64_t rest = microseconds % a_microsecondsOfSecond;
    if (rest < 0) {
        --seconds;
        rest += a_microsecondsOfSecond;
    }
    std::tm parts{};
    const std::time_t time = seconds;
    // The robot chooses the time; a year may be beyond all bounds.
    if (gmtime_r(&time, &parts) == nullptr) {
        return "-";
    }
    std::array<char, 96> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%06dZ",
                  parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour,
                  parts.tm_min, parts.tm_sec, static_cast<int>(rest));
    return buffer.data();
}

}  // namespace robaxi_tool
