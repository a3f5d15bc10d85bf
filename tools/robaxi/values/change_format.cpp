#include "values/change_format.h"

#include "values/value_text.h"

#include <base/csv.h>
#include <base/safe_text.h>
#include <base/time.h>

namespace robaxi_tool {

namespace {

std::string textLine(const ChangeRow& row) {
    return timeText(row.fTime) + ' ' + base::oneLine(row.fKey) + ' ' + valueText(row.fValue) +
           (row.fUnit.empty() ? "" : ' ' + base::oneLine(row.fUnit)) + '\n';
}

std::string jsonOfChange(const ChangeRow& row) {
    return jsonLine({{"time", timeText(row.fTime)},
                     {"key", row.fKey},
                     {"value", valueJson(row.fValue)},
                     {"unit", row.fUnit}});
}

std::string csvLine(const ChangeRow& row) {
    return timeText(row.fTime) + ',' + csvText(row.fKey) + ',' + csvValue(row.fValue) + ',' +
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

std::string csvText(const std::string& text) {
    return base::csvText(base::oneLine(text));
}

std::string csvValue(const KVValue& value) {
    return value.type() == KVValue::Type::String ? csvText(value.toString())
                                                 : base::csvField(valueText(value));
}

std::string timeText(std::int64_t microseconds) {
    const std::string text = base::utcText(microseconds);
    return text.empty() ? "-" : text;
}

}  // namespace robaxi_tool
