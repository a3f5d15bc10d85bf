#ifndef OBVISTA_ROBOT_MEMORY_HUMANOID_MEMORY_H
#define OBVISTA_ROBOT_MEMORY_HUMANOID_MEMORY_H

#include "body/humanoid_model.h"
#include "memory/memory_source.h"

#include <robaxi/kv_memory_module.h>

#include <memory>
#include <mutex>
#include <vector>

namespace robot {

/** The simulated humanoid's values in the module "KVMemory". */
class HumanoidMemory : public MemorySource {
  public:
    /** Adds the keys with their values of step 0, and handles their writes from then on. */
    HumanoidMemory(std::uint64_t seed, std::shared_ptr<KVMemoryModule> module);
    /** Removes the keys. Requires that no write is running. */
    ~HumanoidMemory() override;
    HumanoidMemory(const HumanoidMemory&) = delete;
    HumanoidMemory& operator=(const HumanoidMemory&) = delete;

    std::chrono::microseconds period() const override { return a_stepPeriod; }
    void update(std::uint64_t step) override;

    /** Returns the humanoid's current pose; from any thread. */
    Pose pose() const;

    /**
     * Starts the LED animation, replacing one that is running.
     *
     * @throws KVError for a duration that is not above 0 and at most 60 seconds
     */
    void startLeds(double duration);

  private:
    void xWrite(const std::string& name, const KVValue& value);
    void xShow();

    const HumanoidModel fModel;
    std::shared_ptr<KVMemoryModule> fModule;
    std::vector<std::uint32_t> fIds;
    mutable std::mutex fMutex;  // guards the members below, and orders changes of the table
    std::uint64_t fStep = 0;
    HumanoidInputs fInputs;
};

}  // namespace robot

#endif
