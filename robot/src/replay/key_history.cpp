#include "replay/key_history.h"

#include <base/time.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_memory_module.h>
#include <robaxi/kv_number.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>
#include <vector>

namespace robot {

namespace {

using recording::Message;

/** Bytes of the file that are read for one answer, roughly. */
constexpr double a_mostBytes = 200e6;
/** A key with so few messages is always read completely. */
constexpr std::uint64_t a_fewMessages = 5000;
/** Bytes of the messages of events that are read, which limits what is kept of them. */
constexpr std::size_t a_mostEventBytes = std::size_t{16} << 20U;

}  // namespace

/** The points of a part that are kept: the first and the last one, the lowest and the highest. */
class KeyHistory::Part {
  public:
    void add(const Point& point) {
        if (!fFirst) {
            fFirst = fLowest = fHighest = point;
        }
        // Written so that NaN is neither.
        if (point.fNumber < fLowest->fNumber || std::isnan(fLowest->fNumber)) {
            fLowest = point;
        }
        if (point.fNumber > fHighest->fNumber || std::isnan(fHighest->fNumber)) {
            fHighest = point;
        }
        fLast = point;
    }

    void moveTo(std::vector<Point>& points) {
        if (!fFirst) {
            return;
        }
        std::vector<Point> kept{*fFirst, *fLowest, *fHighest, *fLast};
        std::stable_sort(kept.begin(), kept.end(), [](const Point& left, const Point& right) {
            return left.fTime < right.fTime;
        });
        for (const Point& point : kept) {
            if (points.empty() || points.back().fTime != point.fTime) {
                points.push_back(point);
            }
        }
        *this = Part();
    }

  private:
    std::optional<Point> fFirst;
    std::optional<Point> fLowest;
    std::optional<Point> fHighest;
    std::optional<Point> fLast;
};

/** The points of a span: all of them if they are few, otherwise those of its parts. */
class KeyHistory::ThinnedPoints {
  public:
    explicit ThinnedPoints(std::int64_t most) : fMost(static_cast<std::size_t>(most)) {}

    void add(const Point& point) {
        fPart.add(point);
        if (fAll.size() <= fMost) {
            fAll.push_back(point);
        }
    }
    void endPart() { fPart.moveTo(fThinned); }
    bool isThinned() const { return fAll.size() > fMost; }
    const std::vector<Point>& points() const { return isThinned() ? fThinned : fAll; }

  private:
    const std::size_t fMost;
    std::vector<Point> fAll;  ///< one more than allowed if there are more
    Part fPart;
    std::vector<Point> fThinned;
};

/** The points of a key, with an end where the robot removed it. */
class KeyHistory::Curve {
  public:
    Curve(ThinnedPoints& points, std::vector<std::uint64_t> removals)
        : fPoints(points), fRemovals(std::move(removals)), fNext(fRemovals.begin()) {}

    void add(const Point& point) {
        endBefore(point.fLogTime);
        fPoints.add(point);
        fLast = point;
    }
    /** Ends the curve if the key was removed before a time and has had no number since. */
    void endBefore(std::uint64_t time) {
        for (; fNext != fRemovals.end() && *fNext < time; ++fNext) {
            if (fLast && fLast->fLogTime <= *fNext) {
                const auto later = static_cast<std::int64_t>((*fNext - fLast->fLogTime) /
                                                             base::a_nanosecondsPerMicrosecond);
                fPoints.add(
                    {fLast->fTime + std::max<std::int64_t>(later, 1), std::nan(""), *fNext});
                fLast.reset();
            }
        }
    }
    /** Returns true if the key was removed between a point and a time. */
    bool isRemovedAfter(const Point& point, std::uint64_t time) const {
        const auto removal = std::lower_bound(fRemovals.begin(), fRemovals.end(), point.fLogTime);
        return removal != fRemovals.end() && *removal <= time;
    }
    void endPart() { fPoints.endPart(); }

  private:
    ThinnedPoints& fPoints;
    const std::vector<std::uint64_t> fRemovals;
    std::vector<std::uint64_t>::const_iterator fNext;
    std::optional<Point> fLast;
};

KeyHistory::Place::Place(KeyHistory& history) : fHistory(history) {
    if (++fHistory.fCalls > a_mostCalls) {
        --fHistory.fCalls;
        throw KVError(KVError::Cause::TooMany,
                      "Too many programs request histories of this recording. Request it again.");
    }
}

KeyHistory::Place::~Place() {
    --fHistory.fCalls;
}

KeyHistory::KeyHistory(const std::string& path, const Stage& stage) : fReader(path), fStage(stage) {
}

KVValue::Map KeyHistory::get(const std::string& key, std::uint64_t from, std::uint64_t to,
                             std::int64_t points) {
    KVRange{2, a_mostPoints}.check("The number of points", points);
    std::set<std::uint16_t> channels = fStage.keyChannels(key);
    channels.insert(fStage.groups().begin(), fStage.groups().end());
    if (channels.empty()) {
        throw KVError(KVError::Cause::InvalidArgument, "There is no key named " + key + '.');
    }
    const Place place(*this);
    const std::lock_guard lock(fMutex);
    const Parts parts = xDivide(channels, from, to, points);
    ThinnedPoints kept(points);
    try {
        Curve curve(kept, xRemovalsOf(key));
        const std::optional<Point> first = xPointAt(parts.fFrom, key);
        if (first && !curve.isRemovedAfter(*first, parts.fFrom)) {
            curve.add(*first);
            curve.endPart();
        }
        xReadParts(parts, to, key, channels, curve);
    } catch (const recording::RecordingError& error) {
        throw KVError(KVError::Cause::RaisedByModule, std::string(error.what()) + '.');
    }
    if (fIsStopping) {
        throw KVError(KVError::Cause::Cancelled, "The replay ends.");
    }
    return xAnswer(kept, parts.isComplete());
}

KeyHistory::Parts KeyHistory::xDivide(const std::set<std::uint16_t>& channels, std::uint64_t from,
                                      std::uint64_t to, std::int64_t points) const {
    constexpr std::int64_t pointsOfPart = 4;
    const recording::Statistics& statistics = fReader.statistics();
    const std::uint64_t first = std::clamp(from, statistics.fStart, statistics.fEnd);
    const std::uint64_t last = std::clamp(to, first, statistics.fEnd);
    const auto count = static_cast<std::size_t>(std::max<std::int64_t>(1, points / pointsOfPart));
    const std::uint64_t width = (last - first) / count + 1;
    const double bytes = xBytesBetween(first, last);
    if (bytes <= a_mostBytes || xCountMessages(channels) <= a_fewMessages) {
        return {first, width, width, count};
    }
    const double part = static_cast<double>(width) * a_mostBytes / bytes;
    return {first, width, std::max<std::uint64_t>(1, static_cast<std::uint64_t>(part)), count};
}

std::uint64_t KeyHistory::xCountMessages(const std::set<std::uint16_t>& channels) const {
    const auto& counts = fReader.statistics().fMessagesByChannel;
    std::uint64_t messages = 0;
    for (const std::uint16_t channel : channels) {
        const auto counted = counts.find(channel);
        messages += counted == counts.end() ? 0 : counted->second;
    }
    return messages;
}

/** An estimate: the file's bytes are spread evenly over its time. */
double KeyHistory::xBytesBetween(std::uint64_t from, std::uint64_t to) const {
    const recording::Statistics& statistics = fReader.statistics();
    const double share = static_cast<double>(to - from) /
                         (static_cast<double>(statistics.fEnd - statistics.fStart) + 1);
    return share * static_cast<double>(fReader.fileSize());
}

std::optional<KeyHistory::Point> KeyHistory::xPointOf(const Message& message,
                                                      const std::string& key) const {
    const std::uint64_t time = message.fPublishTime != 0 ? message.fPublishTime : message.fLogTime;
    std::optional<Point> point;
    fStage.read(message, [&](const std::string& name, const KVValue& value) {
        if (name == key) {
            point = Point{static_cast<std::int64_t>(time / base::a_nanosecondsPerMicrosecond),
                          KV::numberOf(value), message.fLogTime};
        }
    });
    return point;
}

/** Returns the number that was current at a time; nothing if there was none. */
std::optional<KeyHistory::Point> KeyHistory::xPointAt(std::uint64_t time, const std::string& key) {
    std::optional<Point> newest;
    std::uint64_t newestTime = 0;
    const auto take = [&](const Message& message) {
        if (message.fLogTime >= newestTime) {
            if (const std::optional<Point> point = xPointOf(message, key)) {
                newest = point;
                newestTime = message.fLogTime;
            }
        }
    };
    fReader.newestAt(time, fStage.keyChannels(key), take, [this] { return !fIsStopping; });
    if (fStage.groups().empty()) {
        return newest;
    }
    // The index has no keys of groups: a limited part of the file before the time is read.
    const std::uint64_t start = fReader.statistics().fStart;
    const double bytes = std::max(1.0, xBytesBetween(std::min(start, time), time));
    const double before = static_cast<double>(time - std::min(start, time));
    const auto read = static_cast<std::uint64_t>(before * std::min(1.0, a_mostBytes / bytes));
    recording::Messages messages =
        xMessages(std::max(time - read, newestTime), time, fStage.groups());
    while (const std::optional<Message> message = messages.next()) {
        take(*message);
    }
    return newest;
}

/** Reads the parts behind their first moment. */
void KeyHistory::xReadParts(const Parts& parts, std::uint64_t to, const std::string& key,
                            const std::set<std::uint16_t>& channels, Curve& curve) {
    const auto take = [&](const Message& message) {
        if (const std::optional<Point> point = xPointOf(message, key)) {
            curve.add(*point);
        }
    };
    const std::uint64_t behind = to == UINT64_MAX ? to : to + 1;
    if (parts.isComplete()) {
        recording::Messages messages = xMessages(parts.fFrom + 1, to, channels);
        std::uint64_t end = parts.fFrom + parts.fWidth;
        while (const std::optional<Message> message = messages.next()) {
            if (message->fLogTime >= end) {
                curve.endPart();
                end += (message->fLogTime - end) / parts.fWidth * parts.fWidth + parts.fWidth;
            }
            take(*message);
        }
        curve.endBefore(behind);
        curve.endPart();
        return;
    }
    for (std::size_t i = 0; i < parts.fCount; ++i) {
        const std::uint64_t start = parts.fFrom + 1 + i * parts.fWidth;
        recording::Messages messages =
            xMessages(start, std::min(to, start + parts.fRead), channels);
        while (const std::optional<Message> message = messages.next()) {
            take(*message);
        }
        curve.endPart();
    }
    curve.endBefore(behind);
    curve.endPart();
}

std::vector<std::uint64_t> KeyHistory::xRemovalsOf(const std::string& key) {
    if (!fRemovals) {
        fRemovals = xReadRemovals();
    }
    const auto found = fRemovals->find(key);
    return found == fRemovals->end() ? std::vector<std::uint64_t>() : found->second;
}

/** Returns the end of the time whose events are read: each may need another chunk. */
std::uint64_t KeyHistory::xEndOfEvents(const std::set<std::uint16_t>& channels) const {
    const recording::Statistics& statistics = fReader.statistics();
    const auto size = static_cast<double>(fReader.fileSize());
    const std::uint64_t events = xCountMessages(channels);
    const double needed = static_cast<double>(events) * size /
                          static_cast<double>(std::max(1U, statistics.fChunkCount));
    if (size <= a_mostBytes || (events <= a_fewMessages && needed <= a_mostBytes)) {
        return UINT64_MAX;
    }
    const auto span = static_cast<double>(statistics.fEnd - statistics.fStart);
    return statistics.fStart + static_cast<std::uint64_t>(span * a_mostBytes / size);
}

/** The removals behind a damaged part of the file are not found. */
KeyHistory::Removals KeyHistory::xReadRemovals() {
    Removals removals;
    const std::set<std::uint16_t> channels = fStage.eventChannels();
    if (channels.empty()) {
        return removals;
    }
    try {
        recording::Messages messages = xMessages(0, xEndOfEvents(channels), channels);
        std::size_t bytes = 0;
        for (std::optional<Message> message; (message = messages.next()).has_value();) {
            bytes += message->fData.size();
            if (bytes > a_mostEventBytes) {
                break;
            }
            if (const std::optional<std::string> removed = Stage::removedKey(*message)) {
                removals[*removed].push_back(message->fLogTime);
            }
        }
    } catch (const recording::RecordingError&) {
        // A curve that needs the damaged part reports it.
    }
    return removals;
}

/** Returns messages that end early when the replay stops. */
recording::Messages KeyHistory::xMessages(std::uint64_t from, std::uint64_t to,
                                          const std::set<std::uint16_t>& channels) {
    return fReader.messages(
        {from, to, channels, recording::Order::LogTime, [this] { return !fIsStopping; }});
}

KVValue::Map KeyHistory::xAnswer(const ThinnedPoints& kept, bool isComplete) {
    KVValue::List times;
    KVValue::List values;
    times.reserve(kept.points().size());
    values.reserve(kept.points().size());
    for (const Point& point : kept.points()) {
        times.emplace_back(point.fTime);
        values.emplace_back(point.fNumber);
    }
    return {{"times", times},
            {"values", values},
            {"thinned", kept.isThinned() || !isComplete},
            {"complete", isComplete}};
}

}  // namespace robot
