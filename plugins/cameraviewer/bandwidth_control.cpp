#include "bandwidth_control.h"

#include <algorithm>

namespace cameraviewer {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

/** The minimum of the age is that of this time: routes and clocks change. */
constexpr seconds a_memory(20);
/** Includes a key frame, which is larger than the others. */
constexpr milliseconds a_byteWindow(2000);
constexpr milliseconds a_leastByteWindow(1000);
constexpr milliseconds a_ageWindow(300);
constexpr milliseconds a_distance(500);
/** After a reduction the queue becomes empty first. */
constexpr seconds a_patience(3);
/** Seconds above the minimum, at which there is a queue or none. */
constexpr double a_late = 0.050;
constexpr double a_punctual = 0.025;
constexpr double a_reduction = 0.7;
/** A link that is interrupted is no slow one. */
constexpr double a_largestReduction = 0.3;
constexpr double a_increase = 1.15;
/** Factor above the bit rate that arrives. */
constexpr double a_reserve = 3;

}  // namespace

void BandwidthControl::reset() {
    *this = BandwidthControl();
}

std::optional<int> BandwidthControl::frameShown(Clock::time_point now, double age,
                                                std::uint64_t bytes, int bitRate) {
    while (!fLowest.empty() && fLowest.back().second >= age) {
        fLowest.pop_back();
    }
    fLowest.emplace_back(now, age);
    fShown.push_back({now, age, bytes});
    while (now - fLowest.front().first > a_memory) {
        fLowest.pop_front();
    }
    while (now - fShown.front().fTime > a_byteWindow) {
        fShown.pop_front();
    }
    if (now - fChanged < a_distance) {
        return std::nullopt;
    }
    const double excess = xMeanExcess();
    if (excess > a_late) {
        fReduced = now;
        const double arriving = xArrivingBitRate().value_or(bitRate);
        return xChange(now, bitRate,
                       std::clamp(arriving * a_reduction, bitRate * a_largestReduction,
                                  bitRate * a_reduction));
    }
    if (excess < a_punctual && now - fReduced > a_patience &&
        xArrivingBitRate().value_or(0) * a_reserve > bitRate) {
        return xChange(now, bitRate, bitRate * a_increase);
    }
    return std::nullopt;
}

double BandwidthControl::xMeanExcess() const {
    double sum = 0;
    int count = 0;
    for (auto shown = fShown.rbegin();
         shown != fShown.rend() && fShown.back().fTime - shown->fTime <= a_ageWindow; ++shown) {
        sum += shown->fAge;
        ++count;
    }
    return sum / count - fLowest.front().second;
}

/** Returns nothing until frames have arrived for some time. */
std::optional<double> BandwidthControl::xArrivingBitRate() const {
    const std::chrono::duration<double> time = fShown.back().fTime - fShown.front().fTime;
    if (time < a_leastByteWindow) {
        return std::nullopt;
    }
    constexpr int bitsInAByte = 8;
    const std::uint64_t bytes = fShown.back().fBytes - fShown.front().fBytes;
    return static_cast<double>(bytes) * bitsInAByte / time.count();
}

std::optional<int> BandwidthControl::xChange(Clock::time_point now, int from, double to) {
    const int wanted = std::clamp(static_cast<int>(to), a_lowest, a_highest);
    if (wanted == from) {
        return std::nullopt;
    }
    fChanged = now;
    return wanted;
}

}  // namespace cameraviewer
