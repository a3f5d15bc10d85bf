#include "recording/csv_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace memoryviewer {

namespace {

constexpr std::int64_t a_microsecondsPerSecond = 1000000;
/** Midnight at the beginning of the year 0 and of the year 10000. */
constexpr std::int64_t a_firstSecond = -62167219200;
constexpr std::int64_t a_endSecond = 253402300800;

bool isControl(char character) {
    constexpr unsigned char firstPrintable = 0x20;
    constexpr unsigned char deleteCharacter = 0x7f;
    const auto byte = static_cast<unsigned char>(character);
    return byte < firstPrintable || byte == deleteCharacter;
}

bool looksLikeFormula(std::string_view text) {
    return !text.empty() && std::string_view("=+-@").find(text.front()) != std::string_view::npos;
}

void appendEscaped(std::string& row, char character) {
    switch (character) {
        case '\n':
            row += "\\n";
            return;
        case '\r':
            row += "\\r";
            return;
        case '\t':
            row += "\\t";
            return;
        case '\\':
            row += "\\\\";
            return;
        case '"':
            row += "\"\"";
            return;
        default:
            break;
    }
    if (!isControl(character)) {
        row += character;
        return;
    }
    std::array<char, 5> code{};
    std::snprintf(code.data(), code.size(), "\\x%02x",
                  static_cast<unsigned>(static_cast<unsigned char>(character)));
    row += code.data();
}

}  // namespace

void appendCsvText(std::string& row, std::string_view utf8) {
    const bool isQuoted = utf8.find_first_of("\",") != std::string_view::npos ||
                          (!utf8.empty() && (utf8.front() == ' ' || utf8.back() == ' '));
    row += isQuoted ? "\"" : "";
    row += looksLikeFormula(utf8) ? "'" : "";
    for (const char character : utf8) {
        appendEscaped(row, character);
    }
    row += isQuoted ? "\"" : "";
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
    row += ',';
    std::int64_t second = microseconds / a_microsecondsPerSecond;
    std::int64_t fraction = microseconds % a_microsecondsPerSecond;
    if (fraction < 0) {
        fraction += a_microsecondsPerSecond;
        --second;
    }
    if (second < a_firstSecond || second >= a_endSecond) {
        return;
    }
    const std::time_t time = second;
    std::tm utc{};
    gmtime_r(&time, &utc);
    constexpr int firstYear = 1900;
    std::array<char, 96> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%06dZ",
                  utc.tm_year + firstYear, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min,
                  utc.tm_sec, static_cast<int>(fraction));
    row += text.data();
}

}  // namespace memoryviewer
