#include "values/wide_table.h"

#include <algorithm>
#include <utility>

namespace robaxi_tool {

WideTable::WideTable(const std::vector<std::string>& keys) : fWaiting(keys.size()) {
    for (const std::string& key : keys) {
        fIndexes.emplace(key, fColumns.size());
        fColumns.push_back({key, {}});
    }
}

std::string WideTable::heading() const {
    std::string line = "time";
    for (const Column& column : fColumns) {
        line += ',' + csvText(column.fKey);
    }
    return line + '\n';
}

std::vector<std::string> WideTable::setPresent(const std::vector<std::string>& keys) {
    std::vector<std::string> others;
    for (const std::string& key : keys) {
        if (fOthers.size() < a_mostOthers && fIndexes.count(key) == 0 &&
            fOthers.insert(key).second) {
            others.push_back(key);
        }
    }
    const std::unordered_set<std::string> present(keys.begin(), keys.end());
    for (Column& column : fColumns) {
        if (present.count(column.fKey) == 0) {
            column.fField.clear();
            fWaiting -= std::exchange(column.fHasHadValue, true) ? 0 : 1;
        }
    }
    return others;
}

std::optional<std::string> WideTable::take(const std::vector<ChangeRow>& rows) {
    bool isChanged = false;
    for (const ChangeRow& row : rows) {
        const auto found = fIndexes.find(row.fKey);
        if (found == fIndexes.end()) {
            continue;
        }
        Column& column = fColumns[found->second];
        column.fField = csvValue(row.fValue);
        fWaiting -= std::exchange(column.fHasHadValue, true) ? 0 : 1;
        fTime = std::max(fTime, row.fTime);
        isChanged = true;
    }
    return isChanged && fWaiting == 0 ? std::make_optional(xLine()) : std::nullopt;
}

std::string WideTable::xLine() const {
    std::string line = timeText(fTime);
    for (const Column& column : fColumns) {
        line += ',' + column.fField;
    }
    return line + '\n';
}

}  // namespace robaxi_tool
