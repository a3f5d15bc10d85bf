#ifndef OBVISTA_ROBOT_MEMORY_HOSTILE_MEMORY_H
#define OBVISTA_ROBOT_MEMORY_HOSTILE_MEMORY_H

#include "memory/memory_source.h"

#include <robaxi/kv_memory_module.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace robot {

/**
 * Values under "Hostile/" with which a viewer must cope: markup and control characters in names,
 * units and values, 10 MB texts, extreme numbers, types that change, keys that disappear and
 * return.
 */
class HostileMemory : public MemorySource {
  public:
    /** Length of the long texts in bytes. */
    static constexpr std::size_t a_longText = 10'000'000;

    explicit HostileMemory(std::shared_ptr<KVMemoryModule> module);

    std::chrono::microseconds period() const override { return std::chrono::milliseconds(500); }
    void update(std::uint64_t step) override;

  private:
    using Evaluate = std::function<KVValue(std::uint64_t step)>;

    void xAdd(const std::string& name, const std::string& unit, Evaluate evaluate);
    void xAddTexts();
    void xAddNumbers();
    void xAddShapes();
    void xAddNames();
    void xAddVanishing();

    std::shared_ptr<KVMemoryModule> fModule;
    std::vector<std::pair<std::uint32_t, Evaluate>> fChanging;
    std::vector<std::string> fVanishing;  // empty while the keys do not exist
};

}  // namespace robot

#endif
