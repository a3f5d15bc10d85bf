#include "body/noise.h"

#include <cmath>

namespace robot {

namespace {

/** Finaliser of the SplitMix64 generator. */
std::uint64_t mix(std::uint64_t value) {
    value += 0x9e3779b97f4a7c15U;
    value = (value ^ (value >> 30U)) * 0xbf58476d1ce4e5b9U;
    value = (value ^ (value >> 27U)) * 0x94d049bb133111ebU;
    return value ^ (value >> 31U);
}

}  // namespace

double Noise::uniform(std::uint32_t channel, std::uint64_t index) const {
    return std::ldexp(static_cast<double>(xHash(channel, index) >> 11U), -53);
}

double Noise::bell(std::uint32_t channel, std::uint64_t index) const {
    // The sum of four uniform distributions approximates a normal distribution, and is bounded.
    std::uint64_t bits = xHash(channel, index);
    double sum = 0;
    for (int i = 0; i < 4; ++i) {
        sum += static_cast<double>(bits & 0xffffU) / 65536.0 - 0.5;
        bits >>= 16U;
    }
    return sum * std::sqrt(3.0);
}

std::uint64_t Noise::xHash(std::uint32_t channel, std::uint64_t index) const {
    return mix(mix(mix(fSeed) ^ channel) ^ index);
}

}  // namespace robot
