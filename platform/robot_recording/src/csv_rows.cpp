#include "value_json.h"

#include <base/csv.h>
#include <base/safe_text.h>

#include <robot_recording/csv_rows.h>

namespace robot_recording {

namespace {

void beginRow(std::string& rows, std::int64_t time, const CsvKey& key) {
    base::appendCsvTime(rows, time);
    rows += ',';
    base::appendCsvText(rows, key.fName);
    rows += ',';
}

void endRow(std::string& rows, const CsvKey& key, std::string_view type) {
    rows += ',';
    base::appendCsvText(rows, key.fUnit);
    rows += ',';
    rows += type;
    rows += base::a_csvRowEnd;
}

/** @return true if the whole value was written */
bool appendValue(std::string& rows, const KVValue& value) {
    switch (value.type()) {
        case KVValue::Type::Nothing:
            return true;
        case KVValue::Type::Bool:
            rows += value.toBool() ? "true" : "false";
            return true;
        case KVValue::Type::Int:
            base::appendCsvNumber(rows, value.toInt());
            return true;
        case KVValue::Type::Float:
            base::appendCsvNumber(rows, value.toFloat());
            return true;
        case KVValue::Type::String: {
            const std::string_view text = value.toString();
            base::appendCsvText(rows, base::beginning(text, a_maxCsvValue));
            return text.size() <= a_maxCsvValue;
        }
        default: {
            // Begins with a bracket, so it is not a formula. A line break is escaped as in JSON.
            std::string json;
            appendJson(json, value);
            json = base::oneLine(json);
            rows += base::csvField(std::string(base::beginning(json, a_maxCsvValue)));
            return json.size() <= a_maxCsvValue;
        }
    }
}

}  // namespace

void appendValueRow(std::string& rows, std::int64_t time, const CsvKey& key, const KVValue& value) {
    beginRow(rows, time, key);
    const bool isWhole = appendValue(rows, value);
    const std::string type = KVValue::typeName(value.type());
    endRow(rows, key, isWhole ? type : type + " (cut)");
}

void appendGapRow(std::string& rows, std::int64_t time, const CsvKey& key) {
    beginRow(rows, time, key);
    endRow(rows, key, "gap");
}

void appendLossRow(std::string& rows, std::int64_t time, std::uint64_t lost) {
    const CsvKey none;
    beginRow(rows, time, none);
    rows += std::to_string(lost);
    endRow(rows, none, "lost");
}

}  // namespace robot_recording
