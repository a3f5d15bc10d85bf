#ifndef OBVISTA_ROBOT_BODY_HUMANOID_MODEL_H
#define OBVISTA_ROBOT_BODY_HUMANOID_MODEL_H

#include "body/humanoid_body.h"
#include "body/humanoid_channels.h"

#include <robaxi/kv_value.h>

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace robot {

/**
 * The humanoid's memory as a pure function: the same seed, step and inputs give the same values, so
 * a run is reproducible, and steps may be skipped. May be used from several threads.
 */
class HumanoidModel {
  public:
    explicit HumanoidModel(std::uint64_t seed);

    std::size_t size() const { return fChannels.size(); }
    const HumanoidKey& key(std::size_t index) const { return fChannels[index].fKey; }

    /** Returns the values at a step, in the order of the keys. */
    std::vector<KVValue> evaluate(std::uint64_t step, const HumanoidInputs& inputs) const;

    /**
     * Applies a write of a key to the inputs, from a step on.
     *
     * @param value of the key's type and range
     * @throws KVError with the reason if it is refused; the inputs are then unchanged
     */
    void write(const std::string& name, const KVValue& value, std::uint64_t step,
               HumanoidInputs& inputs) const;

    /** Returns its pose at a step. */
    Pose pose(std::uint64_t step, const HumanoidInputs& inputs) const;

    /** Starts a LED animation at a step. @throws KVError for a duration out of range */
    void startLeds(double duration, std::uint64_t step, HumanoidInputs& inputs) const;

  private:
    /** A client's write. */
    struct Write {
        std::size_t fJoint;
        const KVValue& fValue;
        double fTime;  ///< seconds since the start of the run
    };
    using Writer = void (HumanoidModel::*)(const Write& write, HumanoidInputs& inputs) const;
    struct WritableKey {
        Writer fWriter;
        std::size_t fJoint;  // for the keys of a joint
    };

    void xWriteStiffness(const Write& write, HumanoidInputs& inputs) const;
    void xWriteHeadTarget(const Write& write, HumanoidInputs& inputs) const;
    void xWriteHeadIdle(const Write& write, HumanoidInputs& inputs) const;
    void xWriteVolume(const Write& write, HumanoidInputs& inputs) const;
    void xWriteNote(const Write& write, HumanoidInputs& inputs) const;
    void xHoldHead(double time, HumanoidInputs& inputs) const;

    HumanoidBody fBody;
    std::vector<HumanoidChannel> fChannels;
    std::unordered_map<std::string, WritableKey> fWritable;
};

}  // namespace robot

#endif
