#ifndef OBVISTA_ROBOT_REPLAY_KEY_HISTORY_H
#define OBVISTA_ROBOT_REPLAY_KEY_HISTORY_H

#include "replay/stage.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <recording/reader.h>
#include <set>
#include <string>
#include <vector>

namespace robot {

/**
 * The history of a key's numbers over a span of time, thinned out: the smallest and the largest
 * number of each part of the span. It reads the file by itself, so that a replay goes on. All
 * operations may be called from any thread.
 */
class KeyHistory {
  public:
    static constexpr int a_mostPoints = 10'000;
    /**
     * Calls at the same time. One reads, and the others wait on the threads of the robot's methods,
     * of which there are eight: as many stay for other methods.
     */
    static constexpr int a_mostCalls = 4;

    /** One of the calls at a time. */
    class Place {
      public:
        /** @throws KVError TooMany */
        explicit Place(KeyHistory& history);
        ~Place();
        Place(const Place&) = delete;
        Place& operator=(const Place&) = delete;

      private:
        KeyHistory& fHistory;
    };

    /** @param stage must outlive it */
    KeyHistory(const std::string& path, const Stage& stage);

    /**
     * Returns a map: "times" (list of int, microseconds by the robot's clock), "values" (list of
     * float; NaN for what is no number, and where the robot removed the key), "thinned" (bool; true
     * if numbers were left out) and "complete" (bool).
     *
     * The work is limited: in a long span of a large file only a section of each part is read, and
     * "complete" is false.
     *
     * @throws KVError InvalidArgument for an unknown key; RaisedByModule for a wrong number of
     *         points, or a damaged part of the file; TooMany beyond a_mostCalls; Cancelled after
     *         stop()
     */
    KVValue::Map get(const std::string& key, std::uint64_t from, std::uint64_t to,
                     std::int64_t points);

    /** Ends calls of get() soon: for the end of the program. */
    void stop() { fIsStopping = true; }

  private:
    /** Sections of a span. */
    struct Parts {
        std::uint64_t fFrom;
        std::uint64_t fWidth;  ///< nanoseconds from one to the next
        std::uint64_t fRead;   ///< nanoseconds of each that are read
        std::size_t fCount;
        bool isComplete() const { return fRead == fWidth; }
    };

    /** A number that was current at some time. */
    struct Point {
        std::int64_t fTime;  ///< of the robot, microseconds
        double fNumber;
        std::uint64_t fLogTime;
    };
    /** The times at which keys were removed, ascending. */
    using Removals = std::map<std::string, std::vector<std::uint64_t>>;
    class Part;
    class Curve;
    class ThinnedPoints;

    Parts xDivide(const std::set<std::uint16_t>& channels, std::uint64_t from, std::uint64_t to,
                  std::int64_t points) const;
    std::uint64_t xCountMessages(const std::set<std::uint16_t>& channels) const;
    double xBytesBetween(std::uint64_t from, std::uint64_t to) const;
    std::optional<Point> xPointOf(const recording::Message& message, const std::string& key) const;
    std::optional<Point> xPointAt(std::uint64_t time, const std::string& key);
    void xReadParts(const Parts& parts, std::uint64_t to, const std::string& key,
                    const std::set<std::uint16_t>& channels, Curve& curve);
    std::vector<std::uint64_t> xRemovalsOf(const std::string& key);
    std::uint64_t xEndOfEvents(const std::set<std::uint16_t>& channels) const;
    Removals xReadRemovals();
    recording::Messages xMessages(std::uint64_t from, std::uint64_t to,
                                  const std::set<std::uint16_t>& channels);
    static KVValue::Map xAnswer(const ThinnedPoints& kept, bool isComplete);

    std::atomic<int> fCalls{0};
    std::atomic<bool> fIsStopping{false};
    std::mutex fMutex;
    recording::Reader fReader;
    const Stage& fStage;
    std::optional<Removals> fRemovals;  ///< read for the first answer
};

}  // namespace robot

#endif
