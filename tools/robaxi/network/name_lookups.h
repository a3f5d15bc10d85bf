#ifndef OBVISTA_TOOLS_ROBAXI_NETWORK_NAME_LOOKUPS_H
#define OBVISTA_TOOLS_ROBAXI_NETWORK_NAME_LOOKUPS_H

#include "process/bell.h"

#include <base/lookups.h>

#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace robaxi_tool {

/**
 * Returns the result of a call, or nothing if there is none in time. It is called on a thread that
 * is abandoned then.
 *
 * @throws Interrupted
 */
template <class Call>
auto resultInTime(Clock::duration time, Bell& bell, Call call) -> std::optional<decltype(call())> {
    std::mutex mutex;
    std::optional<decltype(call())> result;
    base::Lookups calls(1);
    calls.start([&mutex, &result, &bell, call = std::move(call)]() -> base::Lookups::Answer {
        return [&mutex, &result, &bell, found = call()] {
            {
                const std::lock_guard lock(mutex);
                result = found;
            }
            bell.ring();
        };
    });
    bell.waitUntil(Clock::now() + time, [&mutex, &result] {
        const std::lock_guard lock(mutex);
        return result.has_value();
    });
    const std::lock_guard lock(mutex);
    return result;
}

/** Returns the addresses of a host name, IPv4 first; empty if it does not resolve. */
std::vector<std::string> addressesOf(const std::string& hostName);

/**
 * Returns the addresses of a host name, or nothing if the system's resolver has not answered in
 * time.
 *
 * @throws Interrupted
 */
std::optional<std::vector<std::string>> addressesInTime(const std::string& hostName,
                                                        Clock::duration time,
                                                        Interruption& interruption);

/** Simultaneous lookups of host names. One takes several seconds for an unknown name. */
constexpr std::size_t a_mostLookups = 8;

/** Looks up a host name. The answer is delivered on one of the threads of `lookups`. */
void startLookup(base::Lookups& lookups, const std::string& hostName,
                 std::function<void(const std::vector<std::string>& addresses)> answer);

}  // namespace robaxi_tool

#endif
