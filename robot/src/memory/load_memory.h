#ifndef OBVISTA_ROBOT_MEMORY_LOAD_MEMORY_H
#define OBVISTA_ROBOT_MEMORY_LOAD_MEMORY_H

#include "memory/memory_source.h"

#include <robaxi/kv_memory_module.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace robot {

/** Number of values of a robot, and how many of them change at which rate. */
struct Load {
    int fKeys = 0;      ///< 0 for none
    int fChanging = 0;  ///< at most fKeys
    double fRate = 0;   ///< changes of a key in a second
};

/**
 * A large number of values, as a load test for viewers.
 *
 * The keys are those of drives, ten of several types and units each:
 * "Load/Unit003/Drive7/Position". Whole drives change, spread evenly over the table, including the
 * first one. At each step all of a drive's keys change at the same time. Its key "Changed" is that
 * time in microseconds since 1970-01-01 UTC, "Steps" the number of the step: with these a client
 * can check the age and the completeness of what it shows.
 */
class LoadMemory : public MemorySource {
  public:
    /** Adds the keys with their values of step 0. */
    LoadMemory(const Load& load, std::shared_ptr<KVMemoryModule> module);

    std::chrono::microseconds period() const override { return fPeriod; }
    void update(std::uint64_t step) override;

  private:
    struct Key {
        int fDrive;
        std::size_t fFigure;
    };

    void xAddKeys(const Load& load);
    void xMarkChanging(const Load& load, std::vector<bool>& isChanging) const;

    const std::chrono::microseconds fPeriod;
    std::shared_ptr<KVMemoryModule> fModule;
    std::vector<Key> fChanging;
    std::vector<std::pair<std::uint32_t, KVValue>> fValues;  // of the changing keys, reused
};

}  // namespace robot

#endif
