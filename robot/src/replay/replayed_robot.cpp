#include "replay/replayed_robot.h"

#include "replay/clock_offset.h"
#include "web/web_page.h"

#include <base/safe_text.h>
#include <bonjour/bonjour_discovery.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <utility>
#include <vector>

namespace robot {

namespace {

using recorded_robot::Content;
using recorded_robot::RecordedRobot;

constexpr std::size_t a_longestName = 63;  // the longest label of a name that is announced
constexpr std::size_t a_mostNamed = 20;

bool canBeReplayed(const RecordedRobot& robot) {
    return std::any_of(robot.fChannels.begin(), robot.fChannels.end(), [](const auto& channel) {
        return channel.second.fContent != Content::Unknown;
    });
}

std::string nameOf(const RecordedRobot& robot, const std::string& file) {
    const std::string name =
        robot.fName.empty() ? std::filesystem::path(file).stem().string() : robot.fName;
    return std::string(base::beginning(base::oneLine(name), a_longestName));
}

std::string listed(const std::vector<RecordedRobot>& robots, const std::string& file) {
    std::string names;
    for (std::size_t i = 0; i < std::min(robots.size(), a_mostNamed); ++i) {
        names += (i == 0 ? "" : ", ") + nameOf(robots[i], file);
    }
    return names;
}

std::vector<RecordedRobot> robotsIn(const recording::Reader& reader, const std::string& file) {
    std::vector<RecordedRobot> robots = recorded_robot::robotsOf(reader);
    robots.erase(std::remove_if(robots.begin(), robots.end(),
                                [](const RecordedRobot& robot) { return !canBeReplayed(robot); }),
                 robots.end());
    if (robots.empty()) {
        throw std::runtime_error(base::oneLine(file) +
                                 " has no values and pictures that can be replayed");
    }
    return robots;
}

RecordedRobot chosenRobot(const recording::Reader& reader, const Replay& replay) {
    std::vector<RecordedRobot> robots = robotsIn(reader, replay.fFile);
    const std::string file = base::oneLine(replay.fFile);
    if (replay.fRobot.empty() && robots.size() > 1) {
        throw std::runtime_error(file + " has several robots: " + listed(robots, replay.fFile) +
                                 "; --robot chooses one");
    }
    const auto chosen =
        std::find_if(robots.begin(), robots.end(), [&replay](const RecordedRobot& robot) {
            return replay.fRobot.empty() || nameOf(robot, replay.fFile) == replay.fRobot;
        });
    if (chosen == robots.end()) {
        throw std::runtime_error(file + " has no robot named " + base::oneLine(replay.fRobot) +
                                 "; it has " + listed(robots, replay.fFile));
    }
    return std::move(*chosen);
}

}  // namespace

std::vector<std::string> replayableRobots(const std::string& file) {
    const recording::Reader reader(file);
    std::vector<std::string> names;
    for (const RecordedRobot& robot : robotsIn(reader, file)) {
        names.push_back(nameOf(robot, file));
    }
    return names;
}

ReplayedRobot::ReplayedRobot(const Options& options, const Output& output)
    : fReader(options.fReplay.fFile),
      fRobot(chosenRobot(fReader, options.fReplay)),
      fName(options.fName.empty() ? nameOf(fRobot, options.fReplay.fFile) : options.fName),
      fStage(fReader, fRobot, output.fComplain),
      fHistory(options.fReplay.fFile, fStage),
      fClockOffset(clockOffset(fReader, fStage.valueChannels())),
      fPlayer(fReader, fStage, options.fReplay.fPlayer,
              [this](const PlayerState& state) { fValues.set(state); }) {
    fValues.setTimes(fPlayer.start(), fPlayer.end(), fClockOffset);
    std::vector<boost::shared_ptr<KVModule>> modules{fStage.memory()};
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
    fAnnouncer = makeAnnouncer(options, fName, output);
    fBroker = listen(options, fName, options.fPort, settingsFor(options.fSecurity));
    for (const boost::shared_ptr<KVModule>& module : modules) {
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
}

std::string ReplayedRobot::xReadIcon(const Options& options, const Output& output) const {
    if (!options.fIcon.empty()) {
        return readIcon(options.fIcon);
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
