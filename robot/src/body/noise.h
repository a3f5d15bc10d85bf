#ifndef OBVISTA_ROBOT_BODY_NOISE_H
#define OBVISTA_ROBOT_BODY_NOISE_H

#include <cstdint>

namespace robot {

/**
 * Reproducible noise: each number is a pure function of the seed, a channel and an index, so a
 * value can be computed for any time without the preceding ones.
 */
class Noise {
  public:
    explicit Noise(std::uint64_t seed) : fSeed(seed) {}

    /** Returns a number uniformly distributed in [0, 1). */
    double uniform(std::uint32_t channel, std::uint64_t index) const;

    /**
     * Returns an approximately normally distributed number with mean 0 and standard deviation 1;
     * never beyond 3.5.
     */
    double bell(std::uint32_t channel, std::uint64_t index) const;

  private:
    std::uint64_t xHash(std::uint32_t channel, std::uint64_t index) const;

    std::uint64_t fSeed;
};

}  // namespace robot

#endif
