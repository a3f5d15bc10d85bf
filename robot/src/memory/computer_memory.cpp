#include "memory/computer_memory.h"

#include <memory>
#include <set>
#include <utility>

namespace robot {

ComputerMemory::ComputerMemory(ComputerFigures figures, std::shared_ptr<KVMemoryModule> module)
    : fFigures(std::move(figures)), fModule(std::move(module)) {
    update(0);
}

void ComputerMemory::update(std::uint64_t) {
    const std::lock_guard lock(fMutex);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now().time_since_epoch();
    const std::vector<Figure> figures = fFigures.read(time.count());
    xRemoveMissing(figures);
    std::vector<std::pair<std::uint32_t, KVValue>> values;
    for (const Figure& figure : figures) {
        const auto known = fIds.find(figure.fName);
        if (known != fIds.end()) {
            values.emplace_back(known->second, figure.fValue);
            continue;
        }
        fIds[figure.fName] =
            fModule->addKey({figure.fName, figure.fUnit, figure.fDescription, figure.fValue});
    }
    fModule->getValues()->setValues(values);
}

void ComputerMemory::xRemoveMissing(const std::vector<Figure>& figures) {
    std::set<std::string> present;
    for (const Figure& figure : figures) {
        present.insert(figure.fName);
    }
    for (auto it = fIds.begin(); it != fIds.end();) {
        if (present.count(it->first) != 0) {
            ++it;
            continue;
        }
        fModule->removeKey(it->first);
        it = fIds.erase(it);
    }
}

}  // namespace robot
