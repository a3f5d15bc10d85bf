#include "bridge_lab.h"

#include "child_process.h"
#include "lab_control.h"

#include <chrono>
#include <cstdlib>
#include <thread>

namespace obvista_test {

namespace {

constexpr auto a_patience = ChildProcess::a_patience;

/** Command that starts a firewall, which drops DDS's multicast packets. */
const std::string a_firewall =
    "nft add table inet firewall && "
    "nft add chain inet firewall input '{ type filter hook input priority 0; }' && "
    "nft add rule inet firewall input ip daddr 239.255.0.1 drop";

}  // namespace

std::string builtProgram(const std::string& program) {
    return std::string(std::getenv("OBVISTA_BUILD_DIR")) + '/' + program;
}

int BridgeHost::fCount = 0;

BridgeHost::BridgeHost(const std::string& ready, const std::vector<std::string>& command)
    : fNumber(++fCount), fName("host" + std::to_string(fNumber)) {
    std::vector<std::string> words{"add", fName, "--ready", ready, "--address", address(), "--"};
    words.insert(words.end(), command.begin(), command.end());
    lab::control(words);
}

BridgeHost::~BridgeHost() {
    lab::control({"kill", fName});
}

std::string BridgeHost::output() const {
    return lab::control({"output", fName});
}

std::string BridgeHost::run(const std::string& command) const {
    return lab::control({"exec", fName, "--", "sh", "-c", command});
}

bool BridgeHost::waitForOutput(const std::string& text) const {
    const auto end = std::chrono::steady_clock::now() + a_patience;
    while (output().find(text) == std::string::npos) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

BridgeHost makeBridge(const std::vector<std::string>& options,
                      const std::vector<std::string>& environment) {
    std::vector<std::string> command{"env"};
    command.insert(command.end(), environment.begin(), environment.end());
    command.insert(command.end(),
                   {builtProgram("bin/robaxi-bridge"), "--address", "0.0.0.0", "--name", "marvin"});
    command.insert(command.end(), options.begin(), options.end());
    return {"listens", command};
}

BridgeHost makeBridgeBehindAFirewall(const std::vector<std::string>& environment) {
    std::vector<std::string> command{"env"};
    command.insert(command.end(), environment.begin(), environment.end());
    command.insert(command.end(),
                   {"sh", "-c", a_firewall + " && exec \"$0\" --address 0.0.0.0 --name marvin",
                    builtProgram("bin/robaxi-bridge")});
    return {"listens", command};
}

void startFirewall(const BridgeHost& host) {
    host.run(a_firewall);
}

BridgeHost makeRos2Robot(const std::string& mode, const std::vector<std::string>& arguments) {
    std::vector<std::string> command{builtProgram("tests/ros2_writer"), mode, "0"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return {"ready", command};
}

BridgeValues::BridgeValues(const BridgeHost& bridge)
    : fBroker(KVBroker::createBroker({"test"})),
      fConnection(KVConnection::open(fBroker, bridge.address(), 9559, 20)) {
    KVSubscription::Callbacks callbacks;
    callbacks.fKeysAdded = [this](const std::vector<KVKeyInfo>& keys) {
        const std::lock_guard lock(fMutex);
        for (const KVKeyInfo& key : keys) {
            fKeys[key.fId] = key;
            fIds[key.fName] = key.fId;
        }
        fChanged.notify_all();
    };
    callbacks.fKeysRemoved = [this](const std::vector<std::uint32_t>& ids) {
        const std::lock_guard lock(fMutex);
        for (const std::uint32_t id : ids) {
            const auto known = fIds.find(fKeys[id].fName);
            if (known != fIds.end() && known->second == id) {
                fIds.erase(known);
            }
            fKeys.erase(id);
            fValues.erase(id);
        }
        fChanged.notify_all();
    };
    callbacks.fValuesChanged = [this](const std::vector<KVChange>& changes) {
        const std::lock_guard lock(fMutex);
        for (const KVChange& change : changes) {
            fValues[change.fId] = change;
        }
        fChanged.notify_all();
    };
    fSubscription = KVSubscription::start(fConnection, "KVMemory",
                                          KVSubscription::Selection::AllKeys, 100, callbacks);
}

std::optional<KVChange> BridgeValues::wait(const std::string& name,
                                           const std::function<bool(const KVValue&)>& condition) {
    std::unique_lock lock(fMutex);
    std::optional<KVChange> result;
    fChanged.wait_for(lock, a_patience, [&] {
        result = xFind(name);
        if (result && !condition(result->fValue)) {
            result.reset();
        }
        return result.has_value();
    });
    return result;
}

std::optional<KVChange> BridgeValues::wait(const std::string& name) {
    return wait(name, [](const KVValue&) { return true; });
}

bool BridgeValues::has(const std::string& name) {
    const std::lock_guard lock(fMutex);
    return fIds.count(name) != 0;
}

bool BridgeValues::waitForCount(const std::string& beginning, std::size_t count) {
    std::unique_lock lock(fMutex);
    return fChanged.wait_for(lock, a_patience, [&] { return xCount(beginning) == count; });
}

std::string BridgeValues::unit(const std::string& name) {
    const std::lock_guard lock(fMutex);
    const auto known = fIds.find(name);
    return known == fIds.end() ? "(no key)" : fKeys[known->second].fUnit;
}

std::optional<KVChange> BridgeValues::xFind(const std::string& name) const {
    const auto known = fIds.find(name);
    const auto value = known == fIds.end() ? fValues.end() : fValues.find(known->second);
    return value == fValues.end() ? std::nullopt : std::optional(value->second);
}

std::size_t BridgeValues::xCount(const std::string& beginning) const {
    std::size_t count = 0;
    for (auto known = fIds.lower_bound(beginning);
         known != fIds.end() && known->first.rfind(beginning, 0) == 0; ++known) {
        ++count;
    }
    return count;
}

std::function<bool(const KVValue&)> textIs(const std::string& expected) {
    return [expected](const KVValue& value) {
        return value.type() == KVValue::Type::String && value.toString() == expected;
    };
}

std::function<bool(const KVValue&)> textHas(const std::string& part) {
    return [part](const KVValue& value) {
        return value.type() == KVValue::Type::String &&
               value.toString().find(part) != std::string::npos;
    };
}

std::function<bool(const KVValue&)> isAbove(double limit) {
    return [limit](const KVValue& value) { return value.toFloat() > limit; };
}

KVFrameStream::Callbacks FrameCounter::callbacks() {
    KVFrameStream::Callbacks callbacks;
    callbacks.fFrameReceived = [this](const KVFrame& frame, std::uint64_t) {
        const std::lock_guard lock(fMutex);
        fFrame = frame;
        ++fCount;
        fChanged.notify_all();
    };
    return callbacks;
}

bool FrameCounter::waitFor(int count) {
    std::unique_lock lock(fMutex);
    return fChanged.wait_for(lock, a_patience, [&] { return fCount >= count; });
}

KVFrame FrameCounter::frame() {
    const std::lock_guard lock(fMutex);
    return fFrame;
}

}  // namespace obvista_test
