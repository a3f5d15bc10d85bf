#include "program.h"

#include "main_loop.h"
#include "options.h"
#include "robot.h"
#include "safe_text.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>

namespace robot {

namespace {

constexpr int a_couldNotStart = 1;

/** One line on standard output, written at once and never mixed with another thread's. */
void say(const std::string& line) {
    const std::string text = "robaxi-robot: " + line + '\n';
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

/** Address and port as in a URL: an IPv6 address in brackets. */
std::string endpoint(const Options& options) {
    const bool bare = options.fAddress.find(':') == std::string::npos;
    return (bare ? options.fAddress : '[' + options.fAddress + ']') + ':' +
           std::to_string(options.fPort);
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
        const Robot robot(*parsed.fOptions, say);
        say(parsed.fOptions->fName + " listens on " + endpoint(*parsed.fOptions));
        loop.run();
    } catch (const std::exception& failure) {
        std::cerr << "robaxi-robot: " << oneLine(failure.what()) << '\n';
        return a_couldNotStart;
    }
    return 0;
}

}  // namespace robot
