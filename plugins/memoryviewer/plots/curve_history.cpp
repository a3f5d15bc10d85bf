#include "plots/curve_history.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace memoryviewer {

namespace {

void begin(PointSummary& summary, const CurvePoint& point, bool beginsAnew) {
    summary.fFirst = point;
    summary.fEarliest = point.fTime;
    summary.fLatest = point.fTime;
    summary.fMinimum = std::numeric_limits<double>::infinity();
    summary.fMaximum = -std::numeric_limits<double>::infinity();
    summary.fBeginsAnew = beginsAnew;
}

void add(PointSummary& summary, const CurvePoint& point) {
    summary.fLast = point;
    summary.fEarliest = std::min(summary.fEarliest, point.fTime);
    summary.fLatest = std::max(summary.fLatest, point.fTime);
    if (std::isfinite(point.fValue)) {
        summary.fMinimum = std::min(summary.fMinimum, point.fValue);
        summary.fMaximum = std::max(summary.fMaximum, point.fValue);
    }
}

/** Searches for the point that is shown at a time. */
class Search {
  public:
    explicit Search(double time) : fTime(time) {}

    bool canFindIn(const PointSummary& group) const {
        return static_cast<double>(group.fEarliest) <= fTime &&
               (!fFound || group.fLatest > fBest.fTime);
    }

    void look(const CurvePoint& point) {
        if (static_cast<double>(point.fTime) <= fTime && (!fFound || point.fTime > fBest.fTime)) {
            fBest = point;
            fFound = true;
        }
    }

    std::optional<CurvePoint> result() const {
        return fFound ? std::optional<CurvePoint>(fBest) : std::nullopt;
    }

  private:
    double fTime;
    CurvePoint fBest;
    bool fFound = false;
};

}  // namespace

std::int64_t pointTime(double microseconds) {
    // A double cannot represent the largest times.
    constexpr double most = 9.2e18;
    return static_cast<std::int64_t>(std::clamp(microseconds, -most, most));
}

bool CurveHistory::Chunk::beginsAnew(std::size_t index) const {
    return index == 0 ? fWhole.fBeginsAnew : fTimes[index] < fTimes[index - 1];
}

CurveHistory::CurveHistory(const CurveHistory& other) : fChunks(other.fChunks), fSize(other.fSize) {
    if (!fChunks.empty()) {
        fChunks.back() = std::make_shared<Chunk>(*fChunks.back());
    }
}

CurveHistory& CurveHistory::operator=(const CurveHistory& other) {
    CurveHistory copy(other);
    std::swap(*this, copy);
    return *this;
}

void CurveHistory::append(const CurvePoint& point, std::uint64_t order) {
    xAppend(point, false, order);
}

void CurveHistory::interrupt(std::int64_t time, std::uint64_t order) {
    if (isGoingOn()) {
        xAppend({time, std::numeric_limits<double>::quiet_NaN()}, true, order);
    }
}

void CurveHistory::xAppend(const CurvePoint& point, bool isInterruption, std::uint64_t order) {
    const bool beginsAnew = fSize > 0 && point.fTime < last().fTime;
    if (fChunks.empty() || fChunks.back()->fSize == a_chunkSize) {
        fChunks.push_back(std::make_shared<Chunk>());
    }
    Chunk& chunk = *fChunks.back();
    const std::size_t index = chunk.fSize++;
    chunk.fTimes[index] = point.fTime;
    chunk.fValues[index] = point.fValue;
    PointSummary& block = chunk.fBlocks[index / a_blockSize];
    if (index % a_blockSize == 0) {
        begin(block, point, beginsAnew);
    }
    if (index == 0) {
        begin(chunk.fWhole, point, beginsAnew);
    }
    add(block, point);
    add(chunk.fWhole, point);
    if (isInterruption) {
        chunk.fInterruptions.set(index);
    }
    chunk.fNewestOrder = order;
    ++fSize;
}

CurvePoint CurveHistory::last() const {
    return fChunks.back()->fWhole.fLast;
}

bool CurveHistory::isGoingOn() const {
    return fSize > 0 && !isInterruption(fSize - 1);
}

CurvePoint CurveHistory::at(std::size_t index) const {
    return fChunks[index / a_chunkSize]->point(index % a_chunkSize);
}

bool CurveHistory::isInterruption(std::size_t index) const {
    return fChunks[index / a_chunkSize]->fInterruptions.test(index % a_chunkSize);
}

std::int64_t CurveHistory::earliest() const {
    std::int64_t time = isEmpty() ? 0 : last().fTime;
    for (const auto& chunk : fChunks) {
        time = std::min(time, chunk->fWhole.fEarliest);
    }
    return time;
}

std::int64_t CurveHistory::latest() const {
    std::int64_t time = isEmpty() ? 0 : last().fTime;
    for (const auto& chunk : fChunks) {
        time = std::max(time, chunk->fWhole.fLatest);
    }
    return time;
}

void CurveHistory::visit(Visitor& visitor) const {
    for (const auto& chunk : fChunks) {
        if (visitor.takeGroup(chunk->fWhole)) {
            continue;
        }
        const std::size_t blocks = (chunk->fSize + a_blockSize - 1) / a_blockSize;
        for (std::size_t block = 0; block < blocks; ++block) {
            if (!visitor.takeGroup(chunk->fBlocks[block])) {
                xVisitBlock(*chunk, block, visitor);
            }
        }
    }
}

void CurveHistory::xVisitBlock(const Chunk& chunk, std::size_t block, Visitor& visitor) {
    const std::size_t first = block * a_blockSize;
    const std::size_t end = std::min(first + a_blockSize, chunk.fSize);
    for (std::size_t index = first; index < end; ++index) {
        visitor.takePoint(chunk.point(index), chunk.beginsAnew(index));
    }
}

std::optional<CurvePoint> CurveHistory::pointAt(double time) const {
    Search search(time);
    for (auto chunk = fChunks.rbegin(); chunk != fChunks.rend(); ++chunk) {
        if (!search.canFindIn((*chunk)->fWhole)) {
            continue;
        }
        for (std::size_t block = ((*chunk)->fSize + a_blockSize - 1) / a_blockSize; block-- > 0;) {
            if (!search.canFindIn((*chunk)->fBlocks[block])) {
                continue;
            }
            const std::size_t first = block * a_blockSize;
            for (std::size_t i = std::min(first + a_blockSize, (*chunk)->fSize); i-- > first;) {
                search.look((*chunk)->point(i));
            }
        }
    }
    return search.result();
}

std::uint64_t CurveHistory::orderOfOldest() const {
    return fChunks.empty() ? std::numeric_limits<std::uint64_t>::max()
                           : fChunks.front()->fNewestOrder;
}

std::size_t CurveHistory::forgetOldest() {
    if (fChunks.empty()) {
        return 0;
    }
    const std::size_t size = fChunks.front()->fSize;
    fChunks.pop_front();
    fSize -= size;
    return size;
}

}  // namespace memoryviewer
