#include "robot.h"

#include "computer_memory.h"
#include "humanoid_memory.h"
#include "modules.h"
#include "safe_text.h"

#include <boost/make_shared.hpp>

#include <utility>

namespace robot {

namespace {

// Kept for callers of earlier servers; the broker takes no notice of it.
constexpr int a_brokerFlags = 19;

}  // namespace

Robot::Robot(const Options& options, std::function<void(const std::string&)> say)
    : fOptions(options), fSay(std::move(say)), fTable(boost::make_shared<KVValueTable>()) {
    if (fOptions.fKind == Kind::Robot) {
        xMakeHumanoid();
    } else {
        xMakeComputer();
    }
    xMakeModules();
    fBroker = KVBroker::createBroker(fOptions.fName, fOptions.fAddress, fOptions.fPort, "", 0,
                                     a_brokerFlags, "", false);
    for (const boost::shared_ptr<KVModule>& module : fModules) {
        fBroker->addModule(module);
    }
    fTicker = std::make_unique<Ticker>(fMemory->period(),
                                       [this](std::uint64_t step) { fMemory->update(step); });
}

Robot::~Robot() = default;

void Robot::xMakeHumanoid() {
    auto memory = std::make_unique<HumanoidMemory>(fOptions.fSeed, fTable);
    fModules.push_back(
        makeLedsModule([leds = memory.get()](double duration) { leds->startLeds(duration); }));
    fMemory = std::move(memory);
}

void Robot::xMakeComputer() {
    fMemory = std::make_unique<ComputerMemory>(ComputerFigures(), fTable);
}

void Robot::xMakeModules() {
    fModules.push_back(makeMemoryModule(fTable));
    fModules.push_back(makeBallamorModule(
        fTable, [this](const std::string& text) { fSay("clipboard: " + oneLine(text)); }));
}

}  // namespace robot
