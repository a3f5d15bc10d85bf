#include <base/csv.h>
#include <base/safe_text.h>
#include <base/time.h>

#include <array>
#include <charconv>
#include <cmath>

namespace base {

namespace {

/** Programs that read CSV may drop blanks around a field. */
bool needsQuotes(const std::string& line) {
    return line.find_first_of(",\"") != std::string::npos ||
           (!line.empty() && (line.front() == ' ' || line.back() == ' '));
}

}  // namespace

std::string csvField(const std::string& line) {
    if (!needsQuotes(line)) {
        return line;
    }
    std::string quoted = "\"";
    for (const char character : line) {
        quoted.append(character == '"' ? 2 : 1, character);
    }
    return quoted + '"';
}

std::string csvText(const std::string& line) {
    const bool looksLikeFormula =
        !line.empty() && std::string("=+-@").find(line.front()) != std::string::npos;
    return csvField(looksLikeFormula ? '\'' + line : line);
}

void appendCsvText(std::string& row, std::string_view utf8) {
    row += csvText(reversibleLine(utf8));
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
    row += ',' + utcText(microseconds);
}

}  // namespace base
