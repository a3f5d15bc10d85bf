#include "recording/csv_text.h"

#include <base/csv.h>
#include <base/safe_text.h>
#include <base/time.h>

#include <array>
#include <charconv>
#include <cmath>

namespace memoryviewer {

void appendCsvText(std::string& row, std::string_view utf8) {
    row += base::csvText(base::reversibleLine(utf8));
}

void appendCsvNumber(std::string& row, double value) {
    if (std::isnan(value)) {
        row += "nan";
        return;
    }
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    row.append(digits.data(), end);
}

void appendCsvNumber(std::string& row, std::int64_t value) {
    std::array<char, 24> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    row.append(digits.data(), end);
}

void appendCsvTime(std::string& row, std::int64_t microseconds) {
    appendCsvNumber(row, microseconds);
    row += ',' + base::utcText(microseconds);
}

}  // namespace memoryviewer
