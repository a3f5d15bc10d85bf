#include "robot.h"

#include "memory/computer_memory.h"
#include "memory/hostile_memory.h"
#include "memory/humanoid_memory.h"
#include "memory/load_memory.h"
#include "modules.h"
#include "video/makers.h"

#include <base/safe_text.h>
#include <base/time.h>
#include <bonjour/bonjour_discovery.h>
#include <robaxi/kv_error.h>

#include <memory>
#include <utility>

namespace robot {

namespace {

// A call that stops its own broker is answered first.
constexpr std::chrono::milliseconds a_timeToAnswer(100);
constexpr std::chrono::seconds a_timeToRetry(1);

constexpr std::size_t a_longestShown = 500;  // bytes of a text in a line for the user

KVError refusal(const std::string& text) {
    return {KVError::Cause::RaisedByModule, text};
}

/** Returns the path of the installed picture. */
std::string installedIcon(Kind kind) {
    return serving::installedPicture(kind == Kind::Robot ? "robot/buddy.png"
                                                         : "robot/computer.png");
}

/** Returns the pose of a humanoid whose values are not served. */
std::function<Pose()> movingBody(std::uint64_t seed) {
    const auto body = std::make_shared<const HumanoidBody>(seed);
    const auto start = std::chrono::steady_clock::now();
    return [body, start] {
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
        return body->pose(time.count(), HumanoidInputs());
    };
}

}  // namespace

Robot::Robot(const Options& options, serving::MainLoop& loop, serving::Output output)
    : fOptions(options),
      fSettings(serving::settingsFor(options.fSecurity)),
      fLoop(loop),
      fOutput(std::move(output)),
      fMemory(std::make_shared<KVMemoryModule>()) {
    fState.fAnnounced = fOptions.fAnnounce;
    xAddIdentity();
    xMakeMemories();
    xMakeVideo();
    xMakeModules();
    xStartWebServer();
    xStartAnnouncer();
    if (fOptions.fMiddleware) {
        xStartMiddleware();
    }
    if (fOptions.fSimPort != 0) {
        fSimBroker = xListen(fOptions.fSimPort);
        fSimBroker->addModule(fSimModule);
    }
    xAnnounce();
    for (const std::unique_ptr<MemorySource>& memory : fMemories) {
        fTickers.push_back(std::make_unique<Ticker>(
            memory->period(),
            [memory = memory.get()](std::uint64_t step) { memory->update(step); }));
    }
}

Robot::~Robot() {
    // The goodbye is sent before the services end, so that no client is directed to a closed port.
    if (fAnnouncer) {
        fAnnouncer->announce({});
    }
}

void Robot::setMiddleware(bool on) {
    if (!on && fOptions.fSimPort == 0) {
        throw refusal(
            "Without --sim-port nothing could switch the middleware on again; "
            "interruptMiddleware() stops it for a while.");
    }
    fLoop.post([this, on] { xSwitchMiddleware(on); }, a_timeToAnswer);
}

void Robot::interruptMiddleware(double seconds) {
    fLoop.post(
        [this, seconds] {
            xSwitchMiddleware(false);
            fLoop.post([this] { xSwitchMiddleware(true); }, base::steadyDuration(seconds));
        },
        a_timeToAnswer);
}

void Robot::setAnnounced(bool on) {
    xRequireAnnouncer();
    {
        const std::lock_guard lock(fStateMutex);
        fState.fAnnounced = on;
    }
    xAnnounce();
}

void Robot::setAddress(const std::string& address) {
    xRequireAnnouncer();
    fAnnouncer->setAddress(address);
    const std::lock_guard lock(fStateMutex);
    fState.fAddress = address;
}

void Robot::setIcon(IconTrouble trouble) {
    if (!fWebServer) {
        throw refusal("This robot serves no icon: it was started with --http-port 0.");
    }
    fWebServer->setIconTrouble(trouble);
}

void Robot::setCamera(const std::string& camera, FrameTrouble trouble) {
    if (!fVideo) {
        throw refusal("This robot has no cameras: it was started with --no-video.");
    }
    fVideo->setTrouble(camera, trouble);
}

SimControls::State Robot::getState() const {
    const std::lock_guard lock(fStateMutex);
    State state = fState;
    state.fIcon = fWebServer ? fWebServer->getIconTrouble() : IconTrouble::Missing;
    return state;
}

void Robot::xAddIdentity() {
    const char* const kind = fOptions.fKind == Kind::Robot ? "robot" : "computer";
    fMemory->addKey({"Robaxi/Name", "", "Name of the robot", fOptions.fName});
    fMemory->addKey({"Robaxi/Kind", "", "\"robot\" or \"computer\"", kind});
    fMemory->addKey({"Robaxi/Version", "", "Version of the program", OBVISTA_VERSION});
}

void Robot::xMakeMemories() {
    if (fOptions.fLoad.fKeys > 0) {
        fMemories.push_back(std::make_unique<LoadMemory>(fOptions.fLoad, fMemory));
    } else if (fOptions.fKind == Kind::Computer) {
        fMemories.push_back(std::make_unique<ComputerMemory>(ComputerFigures(), fMemory));
    } else {
        xMakeHumanoid();
    }
    if (fOptions.fHostile) {
        fMemories.push_back(std::make_unique<HostileMemory>(fMemory));
    }
}

void Robot::xMakeHumanoid() {
    auto memory = std::make_unique<HumanoidMemory>(fOptions.fSeed, fMemory);
    fModules.push_back(
        makeLedsModule([leds = memory.get()](double duration) { leds->startLeds(duration); }));
    fPose = [memory = memory.get()] { return memory->pose(); };
    fMemories.push_back(std::move(memory));
}

void Robot::xMakeVideo() {
    if (!fOptions.fVideo) {
        return;
    }
    fVideo = std::make_unique<Video>();
    fVideo->add(xMakeCameras());
    fModules.push_back(fVideo->module());
}

std::vector<KVCamera> Robot::xMakeCameras() const {
    const Stamp stamp = fOptions.fStamp ? Stamp::Drawn : Stamp::None;
    const auto complain = [complain = fOutput.fComplain](const std::string& line) {
        complain(base::oneLine(line));
    };
    if (fOptions.fKind == Kind::Robot) {
        return makeHumanoidCameras(fPose ? fPose : movingBody(fOptions.fSeed), stamp, complain);
    }
    return makeComputerCameras(
        [video = fVideo.get()](const std::string& camera, const KVFrame& frame) {
            video->publish(camera, frame);
        },
        [video = fVideo.get()](const std::string& camera) {
            return video->module()->takeKeyFrameRequest(camera);
        },
        complain, stamp);
}

void Robot::xMakeModules() {
    fModules.push_back(fMemory);
    fModules.push_back(makeBallamorModule(fMemory, [this](const std::string& text) {
        fOutput.fSay("clipboard: " + base::oneLine(base::shortened(text, a_longestShown)));
    }));
    fSimModule = makeSimModule(this);
    fModules.push_back(fSimModule);
}

void Robot::xStartWebServer() {
    if (fOptions.fHttpPort == 0) {
        return;
    }
    const std::string description = fOptions.fKind == Kind::Robot
                                        ? "A simulated robot that runs Robaxi."
                                        : "A computer that runs Robaxi.";
    fWebServer = std::make_unique<WebServer>(
        fOptions.fAddress, fOptions.fHttpPort,
        std::make_shared<WebPage>(fOptions.fName, description, fModules, fMemory->getValues()),
        xReadIcon());
}

std::string Robot::xReadIcon() const {
    if (!fOptions.fIcon.empty()) {
        return serving::readIcon(fOptions.fIcon);
    }
    try {
        return serving::readIcon(installedIcon(fOptions.fKind));
    } catch (const std::runtime_error& failure) {
        fOutput.fComplain(base::oneLine(failure.what()) + "; --icon gives another one");
        return {};
    }
}

void Robot::xStartAnnouncer() {
    fAnnouncer = serving::makeAnnouncer(fOptions, fOptions.fName, fOutput);
}

void Robot::xStartMiddleware() {
    fBroker = xListen(fOptions.fPort);
    for (const std::shared_ptr<KVModule>& module : fModules) {
        fBroker->addModule(module);
    }
    const std::lock_guard lock(fStateMutex);
    fState.fMiddleware = true;
}

void Robot::xSwitchMiddleware(bool on) {
    fIsMiddlewareWanted = on;
    on ? xRestartMiddleware() : xStopMiddleware();
}

void Robot::xRestartMiddleware() {
    if (fBroker || !fIsMiddlewareWanted) {
        return;
    }
    try {
        xStartMiddleware();
    } catch (const KVError& failure) {
        fOutput.fComplain(base::oneLine(failure.toString()) + " Trying again.");
        fLoop.post([this] { xRestartMiddleware(); }, a_timeToRetry);
        return;
    }
    xAnnounce();
}

void Robot::xStopMiddleware() {
    {
        const std::lock_guard lock(fStateMutex);
        fState.fMiddleware = false;
    }
    xAnnounce();
    fBroker.reset();
}

void Robot::xAnnounce() {
    if (!fAnnouncer) {
        return;
    }
    // Locked until the end, so that the later of two changes is announced last.
    const std::lock_guard lock(fStateMutex);
    std::vector<KV::BonjourService> services;
    if (fState.fAnnounced && fOptions.fKind == Kind::Robot) {
        const bool http = fOptions.fHttpPort != 0;
        services.push_back({KV::BonjourDiscovery::fRobaxServiceType,
                            http ? fOptions.fHttpPort : KVBroker::a_defaultPort});
    }
    if (fState.fAnnounced && fState.fMiddleware) {
        services.push_back({KV::BonjourDiscovery::fRobaxiServiceType, fOptions.fPort});
    }
    fAnnouncer->announce(services);
}

void Robot::xRequireAnnouncer() const {
    if (!fAnnouncer) {
        throw refusal(
            "This robot is not announced: it was started with --no-announce or on a loopback "
            "address.");
    }
}

boost::shared_ptr<KVBroker> Robot::xListen(int port) const {
    return serving::listen(fOptions, fOptions.fName, port, fSettings);
}

}  // namespace robot
