#include "memory_robot.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_module.h>
#include <robaxi/kv_value_table.h>

#include <loopback_broker.h>
#include <memory>

namespace obvista_test {

MemoryRobot::MemoryRobot(const std::string& name, Memory memory, int port)
    : fBroker(createTestBroker(name, port)), fTable(std::make_shared<KVValueTable>()) {
    fPort = fBroker->getPort();
    if (memory == Memory::Offered) {
        offerMemory();
    }
}

MemoryRobot::~MemoryRobot() = default;

void MemoryRobot::set(const std::string& key, const KVValue& value, std::int64_t time) {
    const auto found = fIds.find(key);
    if (found != fIds.end()) {
        fTable->setValue(found->second, value, time);
        return;
    }
    KVKeyInfo info;
    info.fName = key;
    info.fUnit = "rad";
    fIds[key] = fTable->addKey(info, value);
}

void MemoryRobot::remove(const std::string& key) {
    fTable->removeKey(fIds.at(key));
    fIds.erase(key);
}

void MemoryRobot::offerMemory() {
    const auto module = std::make_shared<KVModule>("KVMemory", "values of a test");
    module->setValues(fTable);
    fBroker->addModule(module);
}

void MemoryRobot::stop() {
    fBroker.reset();
}

}  // namespace obvista_test
