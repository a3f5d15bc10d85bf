#include "recording/split.h"

#include "process/failure.h"

#include <charconv>
#include <map>

namespace robaxi_tool {

Split parseSplit(const std::string& text) {
    static const std::map<std::string, std::uint64_t> sizes{
        {"kB", 1'000}, {"MB", 1'000'000}, {"GB", 1'000'000'000}};
    static const std::map<std::string, int> times{{"s", 1}, {"min", 60}, {"h", 3600}};
    constexpr std::uint64_t most = 1'000'000;
    Split split;
    if (text.empty()) {
        return split;
    }
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const std::string unit(end, text.data() + text.size());
    const auto size = sizes.find(unit);
    const auto time = times.find(unit);
    const bool isKnown = size != sizes.end() || time != times.end();
    if (error != std::errc() || number == 0 || number > most || !isKnown) {
        throw UsageError("--split takes a size (500MB, 2GB) or a time (30s, 10min, 1h), not '" +
                         text + "'");
    }
    if (size != sizes.end()) {
        split.fBytes = number * size->second;
    } else {
        split.fTime = std::chrono::seconds(number) * time->second;
    }
    return split;
}

}  // namespace robaxi_tool
