#include <base/time.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>

namespace base {

namespace {

/** Midnight at the beginning of the year 0 and of the year 10000. */
constexpr std::int64_t a_firstSecond = -62'167'219'200;
constexpr std::int64_t a_endSecond = 253'402'300'800;

}  // namespace

std::int64_t microsecondsNow() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

std::int64_t withinCalendar(std::int64_t microseconds) {
    return std::clamp<std::int64_t>(microseconds, 0, a_latestTime);
}

std::string utcText(std::int64_t microseconds) {
    std::int64_t second = microseconds / a_microsecondsPerSecond;
    std::int64_t fraction = microseconds % a_microsecondsPerSecond;
    if (fraction < 0) {
        fraction += a_microsecondsPerSecond;
        --second;
    }
    if (second < a_firstSecond || second >= a_endSecond) {
        return {};
    }
    const std::time_t time = second;
    std::tm utc{};
    gmtime_r(&time, &utc);
    constexpr int firstYear = 1900;
    std::array<char, 96> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%06dZ",
                  utc.tm_year + firstYear, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min,
                  utc.tm_sec, static_cast<int>(fraction));
    return text.data();
}

std::string fileTimeText(std::int64_t microseconds) {
    std::string text = utcText(microseconds);
    if (text.empty()) {
        return std::to_string(microseconds);
    }
    const auto isPunctuation = [](char sign) {
        return sign == '-' || sign == ':' || sign == '.' || sign == 'Z';
    };
    text.erase(std::remove_if(text.begin(), text.end(), isPunctuation), text.end());
    return text;
}

}  // namespace base
