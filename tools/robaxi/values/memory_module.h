#ifndef OBVISTA_TOOLS_ROBAXI_VALUES_MEMORY_MODULE_H
#define OBVISTA_TOOLS_ROBAXI_VALUES_MEMORY_MODULE_H

#include "command_line/options.h"
#include "network/robot_link.h"

#include <memory>
#include <string>
#include <vector>

namespace robaxi_tool {

/** A robot's module that stores values by key. */
class MemoryModule {
  public:
    /** @throws KVError if the robot has no such module */
    MemoryModule(const RobotLink& link, const std::string& name);

    /** @throws KVError */
    std::vector<std::string> keys();
    KVValue value(const std::string& key);
    void setValue(const std::string& key, const KVValue& value);

  private:
    std::unique_ptr<KVProxy> fProxy;
};

/** Adds "--module"; the default is "KVMemory". */
void addMemoryModule(Options& options, std::string* name);

}  // namespace robaxi_tool

#endif
