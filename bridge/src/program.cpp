#include "program.h"

#include "bridge.h"
#include "options.h"
#include "ros2/ros2_source.h"

#include <base/address.h>
#include <base/safe_text.h>
#include <bonjour/bonjour_discovery.h>
#include <bonjour/icon_server.h>
#include <robaxi/kv_broker.h>

#include <boost/make_shared.hpp>

#include <csignal>
#include <exception>
#include <iostream>
#include <memory>
#include <serving/main_loop.h>
#include <serving/serving.h>
#include <string>

namespace bridge {

namespace {

constexpr int a_couldNotStart = 1;
constexpr const char* a_picture = "bridge/ros2.png";

/** Returns null without one: a bridge is of use without its icon, unless the command line requires
 *  the file or the port. */
std::unique_ptr<KV::IconServer> makeIconServer(const Options& options,
                                               const serving::Output& output) {
    const serving::ServerOptions& server = options.fServer;
    if (server.fHttpPort == 0) {
        return nullptr;
    }
    bool isRequired = !server.fIcon.empty();
    try {
        const std::string icon =
            serving::readIcon(isRequired ? server.fIcon : serving::installedPicture(a_picture));
        isRequired = isRequired || options.fIsHttpPortGiven;
        return std::make_unique<KV::IconServer>(server.fAddress, server.fHttpPort, icon);
    } catch (const std::exception& failure) {
        if (isRequired) {
            throw;
        }
        output.fComplain(std::string("no icon: ") + base::oneLine(failure.what()));
        return nullptr;
    }
}

void run(const Options& options, const serving::Output& output) {
    serving::MainLoop loop;
    Bridge bridge(output.fComplain);
    Ros2Source source(options.fRos2);
    const auto broker =
        serving::listen(options.fServer, options.fServer.fName, options.fServer.fPort,
                        serving::settingsFor(options.fServer.fSecurity));
    const auto icon = makeIconServer(options, output);
    source.start(bridge);
    for (const auto& module : bridge.modules()) {
        broker->addModule(module);
    }
    const auto announcer = serving::makeAnnouncer(options.fServer, options.fServer.fName, output);
    if (announcer) {
        announcer->announce({{KV::BonjourDiscovery::fRobaxServiceType,
                              icon ? options.fServer.fHttpPort : KVBroker::a_defaultPort},
                             {KV::BonjourDiscovery::fRobaxiServiceType, options.fServer.fPort}});
    }
    output.fSay(options.fServer.fName + " listens on " +
                base::hostAndPort(options.fServer.fAddress, options.fServer.fPort) +
                " for domain " + std::to_string(options.fRos2.fDomain));
    loop.run();
    // The goodbye is sent before the services end, so that no client is directed to a closed
    // port.
    if (announcer) {
        announcer->announce({});
    }
}

}  // namespace

int runProgram(int argc, char** argv) {
    // A closed standard output must not end the bridge.
    std::signal(SIGPIPE, SIG_IGN);
    const ParsedOptions parsed = parseOptions({argv + 1, argv + argc}, std::cout, std::cerr);
    if (!parsed.fOptions) {
        return parsed.fExitStatus;
    }
    const serving::Output output = serving::outputOf("robaxi-bridge");
    try {
        run(*parsed.fOptions, output);
    } catch (const std::exception& failure) {
        output.fComplain(base::oneLine(failure.what()));
        return a_couldNotStart;
    }
    return 0;
}

}  // namespace bridge
