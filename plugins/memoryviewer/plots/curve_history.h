#ifndef OBVISTA_MEMORYVIEWER_CURVE_HISTORY_H
#define OBVISTA_MEMORYVIEWER_CURVE_HISTORY_H

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>

namespace memoryviewer {

/** A point of a curve. */
struct CurvePoint {
    std::int64_t fTime = 0;  ///< microseconds by the robot's clock; may be invalid
    double fValue = 0;       ///< not finite in a gap of the curve

    bool operator==(const CurvePoint& other) const {
        return fTime == other.fTime && fValue == other.fValue;
    }
};

/** Connection of a curve's points. */
enum class CurveShape {
    Line,  ///< straight lines; for floating-point numbers
    Steps  ///< each value is constant until the next one; for integers and bools
};

/** Returns the nearest time that a point can have. */
std::int64_t pointTime(double microseconds);

/** Summary of successive points. */
struct PointSummary {
    CurvePoint fFirst;
    CurvePoint fLast;
    std::int64_t fEarliest = 0;
    std::int64_t fLatest = 0;
    double fMinimum = 0;  ///< of the finite values; above fMaximum if there are none
    double fMaximum = 0;
    /**
     * The first point does not continue the curve: the time went back or the curve was interrupted.
     */
    bool fBeginsAnew = false;

    bool hasValues() const { return fMinimum <= fMaximum; }
};

/**
 * The points of one curve in the order of their arrival.
 *
 * They are stored in chunks of arrays, with summaries of every block of 16 points and of every
 * chunk. A picture of any width uses the summaries that lie within one of its columns, so that its
 * cost depends on the width and not on the number of points. A full chunk never changes and is
 * shared by copies, which makes a copy cheap.
 *
 * An interruption is a point without a value that has a mark, to distinguish it from NaN sent by
 * the robot.
 */
class CurveHistory {
  public:
    static constexpr std::size_t a_blockSize = 16;
    static constexpr std::size_t a_blocksPerChunk = 64;
    static constexpr std::size_t a_chunkSize = a_blockSize * a_blocksPerChunk;

    /** @brief Visits points in the order of their arrival, in whole groups where possible. */
    class Visitor {
      public:
        virtual ~Visitor() = default;
        /** @return false to visit the parts of the group, down to single points */
        virtual bool takeGroup(const PointSummary& group) = 0;
        /** @param beginsAnew it does not continue from the previous point */
        virtual void takePoint(const CurvePoint& point, bool beginsAnew) = 0;
    };

    CurveHistory() = default;
    CurveHistory(const CurveHistory& other);
    CurveHistory& operator=(const CurveHistory& other);
    CurveHistory(CurveHistory&&) = default;
    CurveHistory& operator=(CurveHistory&&) = default;
    ~CurveHistory() = default;

    /** @param order a number that increases over all curves, to find the oldest points */
    void append(const CurvePoint& point, std::uint64_t order);
    /**
     * Inserts a gap at `time`. Does nothing if the curve already ends with one or has no points.
     */
    void interrupt(std::int64_t time, std::uint64_t order);

    /** Returns the number of points, including interruptions. */
    std::size_t size() const { return fSize; }
    bool isEmpty() const { return fSize == 0; }
    /** Returns the point that arrived last; the history must not be empty. */
    CurvePoint last() const;
    /**
     * Returns true if the curve continues: it has a point and the last one is not an interruption.
     */
    bool isGoingOn() const;
    /**
     * Returns the point at `index` in the order of arrival; isInterruption() tells if it interrupts
     * the curve.
     */
    CurvePoint at(std::size_t index) const;
    bool isInterruption(std::size_t index) const;

    /** Return the earliest and latest time; 0 if there are no points. */
    std::int64_t earliest() const;
    std::int64_t latest() const;

    void visit(Visitor& visitor) const;

    /**
     * Returns the value shown at that time: the point with the latest time that is not after
     * `time`, the one that arrived last among several; nothing if there is none.
     */
    std::optional<CurvePoint> pointAt(double time) const;

    /** Returns the order of the newest point in the oldest chunk. */
    std::uint64_t orderOfOldest() const;
    /** Drops the oldest chunk. @return the number of its points */
    std::size_t forgetOldest();

  private:
    struct Chunk {
        std::array<std::int64_t, a_chunkSize> fTimes;
        std::array<double, a_chunkSize> fValues;
        std::bitset<a_chunkSize> fInterruptions;
        std::array<PointSummary, a_blocksPerChunk> fBlocks;
        PointSummary fWhole;
        std::size_t fSize = 0;
        std::uint64_t fNewestOrder = 0;

        CurvePoint point(std::size_t index) const { return {fTimes[index], fValues[index]}; }
        bool beginsAnew(std::size_t index) const;
    };

    void xAppend(const CurvePoint& point, bool isInterruption, std::uint64_t order);
    static void xVisitBlock(const Chunk& chunk, std::size_t block, Visitor& visitor);

    std::deque<std::shared_ptr<Chunk>> fChunks;
    std::size_t fSize = 0;
};

}  // namespace memoryviewer

#endif
