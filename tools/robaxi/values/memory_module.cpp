#include "values/memory_module.h"

#include "process/failure.h"

#include <algorithm>

namespace robaxi_tool {

namespace {

constexpr const char* a_list = "getDataList";
constexpr const char* a_read = "getData";
constexpr double a_rate = 100;  // updates a second: the values are sent at once

}  // namespace

MemoryModule::MemoryModule(const RobotLink& link, const std::string& name,
                           Interruption& interruption)
    : fLink(link),
      fName(name),
      fInterruption(interruption),
      fProxy(link.module(name)),
      fInfo(fProxy->getInfo()) {
}

std::vector<std::string> MemoryModule::keys() {
    std::vector<std::string> keys;
    if (xHas(a_list)) {
        for (const KVValue& key : fProxy->call<KVValue::List>(a_list, std::string())) {
            keys.push_back(key.toString());
        }
    } else {
        for (const auto& [key, value] : heldValues()) {
            keys.push_back(key);
        }
    }
    return keys;
}

KVValue MemoryModule::value(const std::string& key) {
    if (xHas(a_read)) {
        return fProxy->call<KVValue>(a_read, key);
    }
    const Values& values = heldValues();
    const auto found = values.find(key);
    if (found == values.end()) {
        throw KVError(KVError::Cause::InvalidArgument, "There is no key named " + key + ".");
    }
    return found->second.fValue;
}

void MemoryModule::setValue(const std::string& key, const KVValue& value) {
    fProxy->callValue("setData", {key, value});
}

bool MemoryModule::xHas(const std::string& method) const {
    // Without values the call is refused with a sentence that names the missing method.
    return !fInfo.fHasValues ||
           std::any_of(fInfo.fMethods.begin(), fInfo.fMethods.end(),
                       [&](const KVMethodInfo& each) { return each.fName == method; });
}

const Values& MemoryModule::heldValues() {
    if (!fValues) {
        Bell bell(fInterruption);
        ValueSnapshot snapshot(bell);
        const auto subscription =
            KVSubscription::start(fLink.connection(), fName, KVSubscription::Selection::AllKeys,
                                  a_rate, snapshot.callbacks());
        fValues = snapshot.wait(Clock::now() + std::chrono::seconds(fLink.timeout()));
    }
    if (!fValues) {
        throw Failure(ExitStatus::TimedOut, "The module " + fName +
                                                " has not sent its values within " +
                                                std::to_string(fLink.timeout()) + " s.");
    }
    return *fValues;
}

void addMemoryModule(Options& options, std::string* name) {
    options.addText("--module", "MODULE", name, "the module that keeps the values", "KVMemory");
}

}  // namespace robaxi_tool
