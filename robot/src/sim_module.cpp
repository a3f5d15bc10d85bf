#include "sim_module.h"

#include <base/address.h>
#include <base/safe_text.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_memory_module.h>

#include <memory>

namespace robot {

namespace {

constexpr double a_shortestInterruption = 0.1;
constexpr double a_longestInterruption = 3600;

/** @param subject begins the sentence of a refusal */
template <class Trouble>
Trouble toTrouble(const std::string& subject, const TroubleNames<Trouble>& troubles,
                  const KVValue& word) {
    if (const std::optional<Trouble> trouble = troubles.find(word.toString())) {
        return *trouble;
    }
    throw KVError(
        KVError::Cause::RaisedByModule,
        subject + " can be " + troubles.list() + "; not '" + base::oneLine(word.toString()) + "'.");
}

const std::string& toAddress(const std::string& text) {
    if (!text.empty() && !base::isIPv4(text)) {
        throw KVError(
            KVError::Cause::RaisedByModule,
            "An address is four numbers with points, or empty for that of the machine; not '" +
                base::oneLine(text) + "'.");
    }
    return text;
}

KVValue stateAsValue(const SimControls::State& state) {
    return KVValue::Map{{"middleware", state.fMiddleware},
                        {"announced", state.fAnnounced},
                        {"address", state.fAddress},
                        {"icon", iconTroubles().nameOf(state.fIcon)}};
}

}  // namespace

SimControls::~SimControls() = default;

std::shared_ptr<KVModule> makeSimModule(SimControls* controls) {
    auto module = std::make_shared<KVModule>("KVSim", "Injects faults into the simulated robot.");
    const auto bind = [&module](const KVMethodInfo& info, KVValue::Type type,
                                const std::function<void(const KVValue&)>& method) {
        module->bindMethod(info, {type}, [method](const KVValue::List& arguments) {
            method(arguments[0]);
            return KVValue();
        });
    };
    bind({"setMiddleware", "setMiddleware(on: bool)",
          "Stops listening and withdraws the service, or starts again. Stopping requires "
          "--sim-port."},
         KVValue::Type::Bool,
         [controls](const KVValue& on) { controls->setMiddleware(on.toBool()); });
    bind({"interruptMiddleware", "interruptMiddleware(duration: float)",
          "Stops the middleware and starts it again after that many seconds, 0.1 to 3600."},
         KVValue::Type::Float, [controls](const KVValue& duration) {
             KVRange{a_shortestInterruption, a_longestInterruption}.check("The middleware",
                                                                          duration, "s");
             controls->interruptMiddleware(duration.toFloat());
         });
    bind({"setAnnounced", "setAnnounced(on: bool)",
          "Withdraws the announcement of the robot, or announces it again."},
         KVValue::Type::Bool,
         [controls](const KVValue& on) { controls->setAnnounced(on.toBool()); });
    bind({"setAddress", "setAddress(address: string)",
          "Announces a separate host name with this IPv4 address; empty for the machine's "
          "name and address."},
         KVValue::Type::String, [controls](const KVValue& address) {
             controls->setAddress(toAddress(address.toString()));
         });
    bind({"setIcon", "setIcon(trouble: string)",
          "Sets the fault of the icon: " + iconTroubles().list() + "."},
         KVValue::Type::String, [controls](const KVValue& trouble) {
             controls->setIcon(toTrouble("The icon", iconTroubles(), trouble));
         });
    module->bindMethod(
        {"setCamera", "setCamera(camera: string, trouble: string)",
         "Sets the fault of a camera: " + frameTroubles().list() + "."},
        {KVValue::Type::String, KVValue::Type::String}, [controls](const KVValue::List& arguments) {
            controls->setCamera(arguments[0].toString(),
                                toTrouble("A camera", frameTroubles(), arguments[1]));
            return KVValue();
        });
    module->bindMethod(
        {"getState", "getState() -> map", "Returns the current faults."}, {},
        [controls](const KVValue::List&) { return stateAsValue(controls->getState()); });
    return module;
}

}  // namespace robot
