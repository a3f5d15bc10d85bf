#ifndef OBVISTA_ROBOT_MEMORY_MEMORY_SOURCE_H
#define OBVISTA_ROBOT_MEMORY_MEMORY_SOURCE_H

#include <chrono>
#include <cstdint>

namespace robot {

/** Keeps values of the module "KVMemory" up to date. */
class MemorySource {
  public:
    virtual ~MemorySource() = default;

    /** Returns the period at which update() should be called. */
    virtual std::chrono::microseconds period() const = 0;

    /** Updates the values to a step; steps may be skipped when time is short. On any thread. */
    virtual void update(std::uint64_t step) = 0;
};

}  // namespace robot

#endif
