#include "recording/recorded_time.h"

#include "process/failure.h"

#include <charconv>
#include <cmath>
#include <ctime>
#include <regex>

namespace robaxi_tool {

namespace {

constexpr std::uint64_t a_perSecond = 1'000'000'000;
constexpr double a_mostSeconds = 1e9;

std::time_t timeOf(std::tm& parts, bool isUtc) {
    parts.tm_isdst = -1;
    return isUtc ? timegm(&parts) : mktime(&parts);
}

/** Returns nanoseconds of ".5"; 0 for an empty text. */
std::uint64_t fractionOf(const std::string& text) {
    return text.empty() ? 0
                        : static_cast<std::uint64_t>(std::llround(
                              std::stod('0' + text) * static_cast<double>(a_perSecond)));
}

std::uint64_t clockTime(const std::smatch& match, std::uint64_t start) {
    const auto number = [&](std::size_t i) { return match[i].matched ? std::stoi(match[i]) : 0; };
    const bool hasDate = match[1].matched;
    const bool isUtc = match[8].length() > 0;
    const auto startSeconds = static_cast<std::time_t>(start / a_perSecond);
    std::tm parts{};
    if (isUtc) {
        gmtime_r(&startSeconds, &parts);
    } else {
        localtime_r(&startSeconds, &parts);
    }
    if (hasDate) {
        parts.tm_year = number(1) - 1900;
        parts.tm_mon = number(2) - 1;
        parts.tm_mday = number(3);
    }
    parts.tm_hour = number(4);
    parts.tm_min = number(5);
    parts.tm_sec = number(6);
    const std::uint64_t fraction = fractionOf(match[7]);
    std::time_t seconds = timeOf(parts, isUtc);
    if (!hasDate && static_cast<std::uint64_t>(seconds) * a_perSecond + fraction < start) {
        ++parts.tm_mday;
        seconds = timeOf(parts, isUtc);
    }
    return seconds < 0 ? 0 : static_cast<std::uint64_t>(seconds) * a_perSecond + fraction;
}

}  // namespace

std::uint64_t parseRecordedTime(const std::string& text, std::uint64_t start) {
    double seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error == std::errc() && end == text.data() + text.size() && seconds >= 0 &&
        seconds <= a_mostSeconds) {
        return start +
               static_cast<std::uint64_t>(std::llround(seconds * static_cast<double>(a_perSecond)));
    }
    static const std::regex clock(
        R"((?:(\d{4})-(\d\d)-(\d\d)T)?([01]?\d|2[0-3]):([0-5]\d)(?::([0-5]\d)(\.\d{1,9})?)?(Z?))");
    std::smatch match;
    constexpr std::size_t longest = 40;
    if (text.size() > longest || !std::regex_match(text, match, clock)) {
        throw UsageError('\'' + text +
                         "' is not a time in a recording: seconds (12.5), a clock time (14:32:05, "
                         "14:32:05Z) or a date and time (2026-11-22T14:32:05Z)");
    }
    return clockTime(match, start);
}

}  // namespace robaxi_tool
