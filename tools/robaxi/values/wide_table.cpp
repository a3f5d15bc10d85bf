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
    std::string fields = "time";
    for (const Column& column : fColumns) {
        fields += ',' + csvText(column.fKey);
    }
    return fields + '\n';
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
            clear(column.fKey);
        }
    }
    return others;
}

std::optional<std::string> WideTable::take(const std::vector<ChangeRow>& rows) {
    bool isChanged = false;
    for (const ChangeRow& row : rows) {
        if (hasColumn(row.fKey)) {
            set(row.fKey, csvValue(row.fValue), row.fTime);
            isChanged = true;
        }
    }
    return isChanged && fWaiting == 0 ? std::make_optional(line()) : std::nullopt;
}

void WideTable::set(const std::string& key, std::string field, std::int64_t time) {
    const auto found = fIndexes.find(key);
    if (found == fIndexes.end()) {
        return;
    }
    Column& column = fColumns[found->second];
    column.fField = std::move(field);
    fWaiting -= std::exchange(column.fHasHadValue, true) ? 0 : 1;
    fTime = std::max(fTime, time);
}

void WideTable::clear(const std::string& key) {
    set(key, {}, fTime);
}

std::string WideTable::line() const {
    std::string fields = timeText(fTime);
    for (const Column& column : fColumns) {
        fields += ',' + column.fField;
    }
    return fields + '\n';
}

}  // namespace robaxi_tool
