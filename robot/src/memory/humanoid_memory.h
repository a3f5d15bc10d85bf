#ifndef OBVISTA_ROBOT_MEMORY_HUMANOID_MEMORY_H
#define OBVISTA_ROBOT_MEMORY_HUMANOID_MEMORY_H

#include "body/humanoid_model.h"
#include "memory/memory_source.h"

#include <robaxi/kv_value_table.h>

#include <boost/shared_ptr.hpp>

#include <mutex>
#include <vector>

namespace robot {

/** The simulated humanoid's values in a table. */
class HumanoidMemory : public MemorySource {
  public:
    /** Adds the keys with their values of step 0, and takes the writes of the table from then on.
     */
    HumanoidMemory(std::uint64_t seed, boost::shared_ptr<KVValueTable> table);
    /** No write may be running any more. */
    ~HumanoidMemory() override;
    HumanoidMemory(const HumanoidMemory&) = delete;
    HumanoidMemory& operator=(const HumanoidMemory&) = delete;

    std::chrono::microseconds period() const override { return a_stepPeriod; }
    void update(std::uint64_t step) override;

    /** How the humanoid stands now; from any thread. */
    Pose pose() const;

    /**
     * Starts the LED animation; one that runs already gives way to it.
     *
     * @throws KVError for a duration that is not above 0 and at most 60 seconds
     */
    void startLeds(double duration);

  private:
    void xWrite(const std::string& name, const KVValue& value);
    void xShow();

    const HumanoidModel fModel;
    boost::shared_ptr<KVValueTable> fTable;
    std::vector<std::uint32_t> fIds;
    mutable std::mutex fMutex;  // guards the members below, and keeps the table in their order
    std::uint64_t fStep = 0;
    HumanoidInputs fInputs;
};

}  // namespace robot

#endif
