#include "body/humanoid_model.h"

#include "body/led_animation.h"

#include <base/safe_text.h>
#include <robaxi/kv_error.h>

namespace robot {

HumanoidModel::HumanoidModel(std::uint64_t seed)
    : fBody(seed), fChannels(HumanoidChannels(seed).make()) {
    fWritable = {{"Motion/HeadIdle", {&HumanoidModel::xWriteHeadIdle, 0}},
                 {"Audio/Volume", {&HumanoidModel::xWriteVolume, 0}},
                 {"Robot/Note", {&HumanoidModel::xWriteNote, 0}}};
    for (const std::size_t joint : {a_headYaw, a_headPitch}) {
        fWritable[jointKey(joints()[joint], "Target")] = {&HumanoidModel::xWriteHeadTarget, joint};
    }
    for (std::size_t joint = 0; joint < a_jointCount; ++joint) {
        fWritable[jointKey(joints()[joint], "Stiffness")] = {&HumanoidModel::xWriteStiffness,
                                                             joint};
    }
}

std::vector<KVValue> HumanoidModel::evaluate(std::uint64_t step,
                                             const HumanoidInputs& inputs) const {
    std::vector<KVValue> values;
    values.reserve(fChannels.size());
    for (const HumanoidChannel& channel : fChannels) {
        const std::uint64_t readAt = step - step % channel.fEvery;
        values.push_back(channel.fEvaluate({readAt, stepTime(readAt), inputs}));
    }
    return values;
}

Pose HumanoidModel::pose(std::uint64_t step, const HumanoidInputs& inputs) const {
    return fBody.pose(stepTime(step), inputs);
}

void HumanoidModel::write(const std::string& name, const KVValue& value, std::uint64_t step,
                          HumanoidInputs& inputs) const {
    const auto key = fWritable.find(name);
    if (key == fWritable.end()) {
        throw KVError(KVError::Cause::RaisedByModule, "The robot has no setting " + name + ".");
    }
    (this->*key->second.fWriter)({key->second.fJoint, value, stepTime(step)}, inputs);
}

void HumanoidModel::startLeds(double duration, std::uint64_t step, HumanoidInputs& inputs) const {
    if (!(duration > 0 && duration <= a_longestAnimation)) {
        throw KVError(KVError::Cause::RaisedByModule,
                      "A LED animation lasts more than 0 and at most 60 seconds.");
    }
    inputs.fLedsSince = stepTime(step);
    inputs.fLedsUntil = inputs.fLedsSince + duration;
}

void HumanoidModel::xWriteStiffness(const Write& write, HumanoidInputs& inputs) const {
    const double stiffness = write.fValue.toFloat();
    Transition& grip = inputs.fStiffness[write.fJoint];
    grip = grip.towards(stiffness, write.fTime, a_gripInertia);
    Transition& heat = inputs.fHeat[write.fJoint];
    heat = heat.towards(stiffness, write.fTime, a_heatInertia);
}

void HumanoidModel::xWriteHeadTarget(const Write& write, HumanoidInputs& inputs) const {
    if (inputs.fHeadIdle) {
        xHoldHead(write.fTime, inputs);
    }
    Transition& target = inputs.fHeadTarget[write.fJoint];
    target = target.towards(write.fValue.toFloat(), write.fTime, a_headInertia);
}

void HumanoidModel::xWriteHeadIdle(const Write& write, HumanoidInputs& inputs) const {
    const bool idle = write.fValue.toBool();
    if (idle == inputs.fHeadIdle) {
        return;
    }
    if (!idle) {
        xHoldHead(write.fTime, inputs);
        return;
    }
    inputs.fHeadIdle = true;
    inputs.fHeadHeld = inputs.fHeadHeld.towards(0, write.fTime, a_headInertia);
}

void HumanoidModel::xWriteVolume(const Write& write, HumanoidInputs& inputs) const {
    inputs.fVolume = write.fValue.toInt();
}

void HumanoidModel::xWriteNote(const Write& write, HumanoidInputs& inputs) const {
    inputs.fNote = base::validUtf8(write.fValue.toString());
}

void HumanoidModel::xHoldHead(double time, HumanoidInputs& inputs) const {
    for (const std::size_t joint : {a_headYaw, a_headPitch}) {
        const double here = fBody.jointTarget(joint, time, inputs);
        inputs.fHeadTarget[joint] = {here, here, time};
    }
    inputs.fHeadIdle = false;
    inputs.fHeadHeld = inputs.fHeadHeld.towards(1, time, a_headInertia);
}

}  // namespace robot
