#include "memory/humanoid_memory.h"

#include <utility>

namespace robot {

HumanoidMemory::HumanoidMemory(std::uint64_t seed, boost::shared_ptr<KVValueTable> table)
    : fModel(seed), fTable(std::move(table)) {
    const std::vector<KVValue> values = fModel.evaluate(fStep, fInputs);
    fIds.reserve(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        fIds.push_back(fTable->addKey(fModel.key(i), values[i]));
    }
    fTable->setWriteHandler(
        [this](const std::string& name, const KVValue& value) { xWrite(name, value); });
}

HumanoidMemory::~HumanoidMemory() {
    fTable->setWriteHandler({});
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
    fTable->setValues(changes);
}

}  // namespace robot
