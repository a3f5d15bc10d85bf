#include "replay/clock_offset.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <optional>

namespace robot {

namespace {

using recording::Message;

constexpr std::uint64_t a_sections = 10;
constexpr int a_messagesOfSection = 1000;
/** Of a file without indexes, of which only the beginning is read. */
constexpr int a_messagesOfBeginning = 100'000;
constexpr std::int64_t a_plausible = 86'400'000'000'000;

/** The shortest of several delays. */
class ShortestDelay {
  public:
    void take(std::int64_t delay) {
        std::int64_t& shortest = std::llabs(delay) <= a_plausible ? fPlausible : fAny;
        shortest = std::min(shortest, delay);
    }
    std::int64_t result() const {
        return fPlausible != a_none ? fPlausible : fAny != a_none ? fAny : 0;
    }

  private:
    static constexpr std::int64_t a_none = std::numeric_limits<std::int64_t>::max();
    std::int64_t fPlausible = a_none;
    std::int64_t fAny = a_none;
};

std::int64_t signedTime(std::uint64_t nanoseconds) {
    constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    return static_cast<std::int64_t>(std::min(nanoseconds, most));
}

}  // namespace

std::int64_t clockOffset(recording::Reader& reader, const std::set<std::uint16_t>& channels) {
    const std::uint64_t start = reader.statistics().fStart;
    const std::uint64_t end = reader.statistics().fEnd;
    const bool isIndexed = reader.isIndexed();
    ShortestDelay shortest;
    std::set<std::uint16_t> begun;
    try {
        for (std::uint64_t section = 0; section < (isIndexed ? a_sections : 1); ++section) {
            recording::Messages messages =
                reader.messages({start + (end - start) / a_sections * section, end, channels,
                                 recording::Order::LogTime});
            int left = isIndexed ? a_messagesOfSection : a_messagesOfBeginning;
            while (const std::optional<Message> message = messages.next()) {
                const bool isFirst = section == 0 && begun.insert(message->fChannelId).second;
                if (!isFirst && message->fPublishTime != 0) {
                    shortest.take(signedTime(message->fLogTime) -
                                  signedTime(message->fPublishTime));
                }
                if (--left == 0) {
                    break;
                }
            }
        }
    } catch (const recording::RecordingError&) {
        // The player reports the damaged part when it gets there.
    }
    return shortest.result();
}

}  // namespace robot
