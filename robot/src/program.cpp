#include "program.h"

#include "endpoint.h"
#include "main_loop.h"
#include "options.h"
#include "robot.h"
#include "safe_text.h"

#include <csignal>
#include <exception>
#include <iostream>
#include <poll.h>
#include <unistd.h>

namespace robot {

namespace {

constexpr int a_couldNotStart = 1;

/**
 * Writes one line, whole and at once. It is dropped when nobody reads what was written before: a
 * robot does not wait for its reader. Lines are shorter than what a pipe takes when it is ready.
 */
void writeLine(int file, const std::string& line) {
    const std::string text = "robaxi-robot: " + line + '\n';
    pollfd waited{file, POLLOUT, 0};
    if (poll(&waited, 1, 0) == 1) {
        [[maybe_unused]] const ssize_t written = write(file, text.data(), text.size());
    }
}

void say(const std::string& line) {
    writeLine(STDOUT_FILENO, line);
}

void complain(const std::string& line) {
    writeLine(STDERR_FILENO, line);
}

/** What tests and scripts wait for. */
std::string readyLine(const Options& options) {
    if (options.fMiddleware) {
        return options.fName + " listens on " + endpointText(options.fAddress, options.fPort);
    }
    if (options.fHttpPort != 0) {
        return options.fName + " listens on " + endpointText(options.fAddress, options.fHttpPort) +
               " for HTTP alone";
    }
    return options.fName + " listens on no port";
}

}  // namespace

int runProgram(int argc, char** argv) {
    // A reader of standard output that went away must not end the robot.
    std::signal(SIGPIPE, SIG_IGN);
    const ParsedOptions parsed = parseOptions({argv + 1, argv + argc}, std::cout, std::cerr);
    if (!parsed.fOptions) {
        return parsed.fExitStatus;
    }
    try {
        MainLoop loop;
        Robot robot(*parsed.fOptions, loop, {say, complain});
        say(readyLine(*parsed.fOptions));
        loop.run();
    } catch (const std::exception& failure) {
        complain(oneLine(failure.what()));
        return a_couldNotStart;
    }
    return 0;
}

}  // namespace robot
