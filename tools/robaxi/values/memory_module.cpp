#include "values/memory_module.h"

namespace robaxi_tool {

MemoryModule::MemoryModule(const RobotLink& link, const std::string& name)
    : fProxy(link.module(name)) {
}

std::vector<std::string> MemoryModule::keys() {
    std::vector<std::string> keys;
    for (const KVValue& key : fProxy->call<KVValue::List>("getDataList", std::string())) {
        keys.push_back(key.toString());
    }
    return keys;
}

KVValue MemoryModule::value(const std::string& key) {
    return fProxy->call<KVValue>("getData", key);
}

void MemoryModule::setValue(const std::string& key, const KVValue& value) {
    fProxy->callValue("setData", {key, value});
}

void addMemoryModule(Options& options, std::string* name) {
    options.addText("--module", "MODULE", name, "the module that keeps the values", "KVMemory");
}

}  // namespace robaxi_tool
