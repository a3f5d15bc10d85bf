#ifndef OBVISTA_ROBOT_MEMORY_COMPUTER_MEMORY_H
#define OBVISTA_ROBOT_MEMORY_COMPUTER_MEMORY_H

#include "memory/computer_figures.h"
#include "memory/memory_source.h"

#include <robaxi/kv_memory_module.h>

#include <memory>
#include <mutex>
#include <unordered_map>

namespace robot {

/** The machine's values in the module "KVMemory": keys appear and disappear with their sources. */
class ComputerMemory : public MemorySource {
  public:
    /** Adds the values that can be read immediately. */
    ComputerMemory(ComputerFigures figures, std::shared_ptr<KVMemoryModule> module);

    std::chrono::microseconds period() const override { return std::chrono::seconds(1); }
    void update(std::uint64_t step) override;

  private:
    void xRemoveMissing(const std::vector<Figure>& figures);

    std::mutex fMutex;  // guards all members
    ComputerFigures fFigures;
    std::shared_ptr<KVMemoryModule> fModule;
    std::unordered_map<std::string, std::uint32_t> fIds;
};

}  // namespace robot

#endif
