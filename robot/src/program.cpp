#include "program.h"

#include "options.h"
#include "replay/replayed_robot.h"
#include "robot.h"

#include <base/address.h>
#include <base/safe_text.h>

#include <csignal>
#include <exception>
#include <iostream>
#include <serving/main_loop.h>
#include <serving/serving.h>

namespace robot {

namespace {

constexpr int a_couldNotStart = 1;

/** The line for which tests and scripts wait. */
std::string readyLine(const Options& options, const std::string& name) {
    if (options.fMiddleware) {
        return name + " listens on " + base::hostAndPort(options.fAddress, options.fPort);
    }
    if (options.fHttpPort != 0) {
        return name + " listens on " + base::hostAndPort(options.fAddress, options.fHttpPort) +
               " for HTTP alone";
    }
    return name + " listens on no port";
}

}  // namespace

int runProgram(int argc, char** argv) {
    // A closed standard output must not end the robot.
    std::signal(SIGPIPE, SIG_IGN);
    const ParsedOptions parsed = parseOptions({argv + 1, argv + argc}, std::cout, std::cerr);
    if (!parsed.fOptions) {
        return parsed.fExitStatus;
    }
    const serving::Output output = serving::outputOf("robaxi-robot");
    try {
        const Options& options = *parsed.fOptions;
        if (options.fReplay.fIsList) {
            for (const std::string& name : replayableRobots(options.fReplay.fFile)) {
                std::cout << name << '\n';
            }
            return 0;
        }
        serving::MainLoop loop;
        if (options.fReplay.fFile.empty()) {
            const Robot robot(options, loop, output);
            output.fSay(readyLine(options, options.fName));
            loop.run();
        } else {
            const ReplayedRobot robot(options, output);
            output.fSay(readyLine(options, robot.name()));
            loop.run();
        }
    } catch (const std::exception& failure) {
        output.fComplain(base::oneLine(failure.what()));
        return a_couldNotStart;
    }
    return 0;
}

}  // namespace robot
