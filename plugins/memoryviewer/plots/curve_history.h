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
    std::int64_t fTime = 0;  ///< microseconds by the robot's clock; need not be a sane one
    double fValue = 0;       ///< not finite where the curve has a gap

    bool operator==(const CurvePoint& other) const {
        return fTime == other.fTime && fValue == other.fValue;
    }
};

/** How a curve goes from point to point. */
enum class CurveShape {
    Line,  ///< straight; for floating-point numbers
    Steps  ///< each value holds until the next one; for integers and bools
};

/** The nearest time that a point can have. */
std::int64_t pointTime(double microseconds);

/** What is known of some neighbouring points without looking at them. */
struct PointSummary {
    CurvePoint fFirst;
    CurvePoint fLast;
    std::int64_t fEarliest = 0;
    std::int64_t fLatest = 0;
    double fMinimum = 0;  ///< of the finite values; above fMaximum when there is none
    double fMaximum = 0;
    /** The first point does not follow from the one before: the time went back or the curve was
     *  interrupted. */
    bool fBeginsAnew = false;

    bool hasValues() const { return fMinimum <= fMaximum; }
};

/**
 * The points of one curve in the order in which they came.
 *
 * They lie in chunks of arrays, with summaries of every block of 16 points and of every chunk: a
 * picture of any width asks the summaries where they lie within one column of it, so that its cost
 * depends on the width and not on the number of points. A chunk that is full never changes again
 * and is shared by copies, which makes a copy cheap.
 *
 * An interruption is a point with no value that is marked as ours, to be told from a not-a-number
 * that the robot sent.
 */
class CurveHistory {
  public:
    static constexpr std::size_t a_blockSize = 16;
    static constexpr std::size_t a_blocksPerChunk = 64;
    static constexpr std::size_t a_chunkSize = a_blockSize * a_blocksPerChunk;

    /** @brief Sees points in the order in which they came, whole groups of them where possible. */
    class Visitor {
      public:
        virtual ~Visitor() = default;
        /** @return false to look at the group's parts, down to single points */
        virtual bool takeGroup(const PointSummary& group) = 0;
        /** @param beginsAnew it does not follow from the point before */
        virtual void takePoint(const CurvePoint& point, bool beginsAnew) = 0;
    };

    CurveHistory() = default;
    CurveHistory(const CurveHistory& other);
    CurveHistory& operator=(const CurveHistory& other);
    CurveHistory(CurveHistory&&) = default;
    CurveHistory& operator=(CurveHistory&&) = default;
    ~CurveHistory() = default;

    /** @param order a number that ascends over all curves, to find what is oldest */
    void append(const CurvePoint& point, std::uint64_t order);
    /** Leaves a gap from `time` on. Nothing when the curve has one there or no points. */
    void interrupt(std::int64_t time, std::uint64_t order);

    /** Points, those that interrupt included. */
    std::size_t size() const { return fSize; }
    bool isEmpty() const { return fSize == 0; }
    /** The point that came last; the history must not be empty. */
    CurvePoint last() const;
    /** Whether the curve goes on: it has a point and the last one is no interruption. */
    bool isGoingOn() const;
    /** The point that `index` others came before, and whether it is an interruption. */
    CurvePoint at(std::size_t index) const;
    bool isInterruption(std::size_t index) const;

    /** Earliest and latest time; 0 when there are no points. */
    std::int64_t earliest() const;
    std::int64_t latest() const;

    void visit(Visitor& visitor) const;

    /** The point with the latest time that is not after `time`, the one that came last among
     *  several; nothing when there is none. The value that a reader sees at that time. */
    std::optional<CurvePoint> pointAt(double time) const;

    /** Order of the newest point in the oldest chunk. */
    std::uint64_t orderOfOldest() const;
    /** Forgets the oldest chunk. @return the number of points that were in it */
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
