#include "replay/replayed_robot.h"

#include "replay/clock_offset.h"
#include "web/web_page.h"

#include <base/safe_text.h>
#include <bonjour/bonjour_discovery.h>

#include <memory>
#include <vector>

namespace robot {

std::vector<std::string> replayableRobots(const std::string& file) {
    const recording::Reader reader(file);
    std::vector<std::string> names;
    for (const recorded_robot::RecordedRobot& robot :
         recorded_robot::replayableRobots(reader, file)) {
        names.push_back(recorded_robot::displayName(robot, file));
    }
    return names;
}

ReplayedRobot::ReplayedRobot(const Options& options, const serving::Output& output)
    : fReader(options.fReplay.fFile),
      fRobot(recorded_robot::chosenRobot(fReader, options.fReplay.fFile, options.fReplay.fRobot)),
      fName(options.fName.empty() ? recorded_robot::displayName(fRobot, options.fReplay.fFile)
                                  : options.fName),
      fStage(fReader, fRobot, output.fComplain),
      fHistory(options.fReplay.fFile, fStage),
      fClockOffset(clockOffset(fReader, fStage.valueChannels())),
      fPlayer(fReader, fStage, options.fReplay.fPlayer,
              [this](const PlayerState& state) { fValues.set(state); }) {
    fValues.setTimes(fPlayer.start(), fPlayer.end(), fClockOffset);
    std::vector<std::shared_ptr<KVModule>> modules{fStage.memory()};
    if (fStage.video()) {
        modules.push_back(fStage.video());
    }
    modules.push_back(makeReplayModule(fPlayer, fHistory, fValues));
    if (options.fHttpPort != 0) {
        fWebServer = std::make_unique<WebServer>(
            options.fAddress, options.fHttpPort,
            std::make_shared<WebPage>(fName, "A replay of a recorded robot.", modules,
                                      fStage.memory()->getValues()),
            xReadIcon(options, output));
    }
    fAnnouncer = serving::makeAnnouncer(options, fName, output);
    fBroker =
        serving::listen(options, fName, options.fPort, serving::settingsFor(options.fSecurity));
    for (const std::shared_ptr<KVModule>& module : modules) {
        fBroker->addModule(module);
    }
    if (fAnnouncer) {
        const int httpPort = options.fHttpPort != 0 ? options.fHttpPort : KVBroker::a_defaultPort;
        fAnnouncer->announce({{KV::BonjourDiscovery::fRobaxServiceType, httpPort},
                              {KV::BonjourDiscovery::fRobaxiServiceType, options.fPort}});
    }
}

ReplayedRobot::~ReplayedRobot() {
    // The goodbye is sent before the services end, so that no client is directed to a closed port.
    if (fAnnouncer) {
        fAnnouncer->announce({});
    }
    // The broker waits for calls, which may be reading much of the file.
    fPlayer.stop();
    fHistory.stop();
}

std::string ReplayedRobot::xReadIcon(const Options& options, const serving::Output& output) const {
    if (!options.fIcon.empty()) {
        return serving::readIcon(options.fIcon);
    }
    constexpr std::uint64_t largest = std::uint64_t{4} << 20U;
    if (!fRobot.fIcon || fRobot.fIcon->fDataSize > largest) {
        return {};
    }
    try {
        return fReader.readAttachment(*fRobot.fIcon).fData;
    } catch (const recording::RecordingError& failure) {
        output.fComplain(base::oneLine(failure.what()));
        return {};
    }
}

}  // namespace robot
