#include "memory/humanoid_memory.h"

#include <memory>
#include <utility>

namespace robot {

HumanoidMemory::HumanoidMemory(std::uint64_t seed, std::shared_ptr<KVMemoryModule> module)
    : fModel(seed), fModule(std::move(module)) {
    const std::vector<KVValue> values = fModel.evaluate(fStep, fInputs);
    fIds.reserve(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const HumanoidKey& key = fModel.key(i);
        KVMemoryKey added{key.fName, key.fUnit, key.fDescription, values[i]};
        if (key.fWritable) {
            added.fWrite = [this, name = key.fName](const KVValue& value) { xWrite(name, value); };
            added.fRange = key.fRange;
        }
        fIds.push_back(fModule->addKey(added));
    }
}

HumanoidMemory::~HumanoidMemory() {
    for (std::size_t i = 0; i < fModel.size(); ++i) {
        fModule->removeKey(fModel.key(i).fName);
    }
}

void HumanoidMemory::update(std::uint64_t step) {
    const std::lock_guard lock(fMutex);
    fStep = step;
    xShow();
}

Pose HumanoidMemory::pose() const {
    const std::lock_guard lock(fMutex);
    return fModel.pose(fStep, fInputs);
}

void HumanoidMemory::startLeds(double duration) {
    const std::lock_guard lock(fMutex);
    fModel.startLeds(duration, fStep, fInputs);
    xShow();
}

void HumanoidMemory::xWrite(const std::string& name, const KVValue& value) {
    const std::lock_guard lock(fMutex);
    fModel.write(name, value, fStep, fInputs);
    xShow();
}

void HumanoidMemory::xShow() {
    std::vector<KVValue> values = fModel.evaluate(fStep, fInputs);
    std::vector<std::pair<std::uint32_t, KVValue>> changes;
    changes.reserve(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        changes.emplace_back(fIds[i], std::move(values[i]));
    }
    fModule->getValues()->setValues(changes);
}

}  // namespace robot
