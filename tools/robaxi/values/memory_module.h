#ifndef OBVISTA_TOOLS_ROBAXI_VALUES_MEMORY_MODULE_H
#define OBVISTA_TOOLS_ROBAXI_VALUES_MEMORY_MODULE_H

#include "command_line/options.h"
#include "network/robot_link.h"
#include "values/value_snapshot.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace robaxi_tool {

/**
 * A robot's module that stores values by key. Without the methods for reading, its values are those
 * of a subscription at the first request.
 */
class MemoryModule {
  public:
    /** @throws KVError if the robot has no such module */
    MemoryModule(const RobotLink& link, const std::string& name, Interruption& interruption);

    /** @throws KVError, Failure, Interrupted */
    std::vector<std::string> keys();
    KVValue value(const std::string& key);
    void setValue(const std::string& key, const KVValue& value);

    /**
     * Returns the values of all keys at the first request, with types, units and times, which only
     * a subscription has.
     *
     * @throws KVError, Failure, Interrupted
     */
    const Values& heldValues();

  private:
    /** Returns true if a call of the method is better than a subscription. */
    bool xHas(const std::string& method) const;

    const RobotLink& fLink;
    const std::string fName;
    Interruption& fInterruption;
    std::unique_ptr<KVProxy> fProxy;
    KVModuleInfo fInfo;
    std::optional<Values> fValues;  // after the first request for them
};

/** Adds "--module"; the default is "KVMemory". */
void addMemoryModule(Options& options, std::string* name);

}  // namespace robaxi_tool

#endif
