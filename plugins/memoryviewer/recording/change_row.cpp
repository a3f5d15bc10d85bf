#include "recording/change_row.h"

#include "recording/csv_text.h"

#include <base/csv.h>
#include <base/safe_text.h>
#include <obvista/viewer/value_text.h>

namespace memoryviewer {

namespace {

void beginRow(std::string& rows, std::int64_t time, const RecordedKey& key) {
    appendCsvTime(rows, time);
    rows += ',';
    appendCsvText(rows, key.fName);
    rows += ',';
}

void endRow(std::string& rows, const RecordedKey& key, std::string_view type) {
    rows += ',';
    appendCsvText(rows, key.fUnit);
    rows += ',';
    rows += type;
    rows += a_csvRowEnd;
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
            appendCsvNumber(rows, value.toInt());
            return true;
        case KVValue::Type::Float:
            appendCsvNumber(rows, value.toFloat());
            return true;
        case KVValue::Type::String: {
            const std::string_view text = value.toString();
            appendCsvText(rows, base::beginning(text, a_maxCsvValue));
            return text.size() <= a_maxCsvValue;
        }
        default: {
            // Consists of brackets, quotation marks and hexadecimal digits, which are not a
            // formula.
            const QString text = obvista::exactValueText(value, static_cast<int>(a_maxCsvValue));
            rows += base::csvField(text.toStdString());
            return !text.endsWith(QChar(0x2026));
        }
    }
}

}  // namespace

void appendChangeRow(std::string& rows, const RecordedChange& change) {
    const RecordedKey key{change.fKey->fName, change.fKey->fUnit};
    beginRow(rows, change.fTime, key);
    const bool isWhole = appendValue(rows, change.fValue);
    std::string type = KVValue::typeName(change.fValue.type());
    endRow(rows, key, isWhole ? type : type + " (cut)");
}

void appendNumberRow(std::string& rows, std::int64_t time, const RecordedKey& key, double value) {
    beginRow(rows, time, key);
    appendCsvNumber(rows, value);
    endRow(rows, key, "float");
}

void appendGapRow(std::string& rows, std::int64_t time, const RecordedKey& key) {
    beginRow(rows, time, key);
    endRow(rows, key, "gap");
}

void appendLossRow(std::string& rows, std::int64_t time, std::uint64_t lost) {
    const RecordedKey none;
    beginRow(rows, time, none);
    rows += std::to_string(lost);
    endRow(rows, none, "lost");
}

}  // namespace memoryviewer
