#include "command_line/program.h"

#include "command_line/command_line.h"
#include "command_line/manual.h"
#include "commands/commands.h"
#include "process/failure.h"
#include "process/signal_watcher.h"

#include <algorithm>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace robaxi_tool {

namespace {

using Arguments = std::vector<std::string>;

ExitStatus runCommand(Command& command, const Arguments& arguments, Surroundings& surroundings) {
    const ParsedCommandLine line = parseCommandLine(command, arguments);
    surroundings.fConsole.setColor(line.fColor);
    if (line.fHelp) {
        surroundings.fConsole.print(helpText(command));
        return ExitStatus::Success;
    }
    return command.run(line.fWords, surroundings);
}

ExitStatus runFirstWord(const Arguments& arguments, Surroundings& surroundings) {
    const std::string first = arguments.empty() ? std::string() : arguments.front();
    if (first.empty() || first == "--help" || first == "-h") {
        surroundings.fConsole.print(generalHelpText());
        if (first.empty()) {
            throw UsageError("a command is missing");
        }
        return ExitStatus::Success;
    }
    if (first == "--version") {
        surroundings.fConsole.print("robaxi " OBVISTA_VERSION "\n");
        return ExitStatus::Success;
    }
    if (first == "--manual") {  // for those who change tools/robaxi/robaxi.1
        surroundings.fConsole.print(manualPage());
        return ExitStatus::Success;
    }
    std::unique_ptr<Command> command;
    try {
        command = makeCommand(first);
        return runCommand(*command, {arguments.begin() + 1, arguments.end()}, surroundings);
    } catch (const UsageError& mistake) {
        const std::string sentence = mistake.what();
        throw UsageError(command == nullptr
                             ? sentence + "; try 'robaxi --help'"
                             : first + ": " + sentence + "; try 'robaxi " + first + " --help'");
    }
}

/**
 * Occupies standard descriptors that the parent process has closed, so that no connection gets such
 * a number and receives the results. Writing to them fails, as it must.
 */
void keepStandardDescriptors() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) < 0) {
            open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

}  // namespace

int runArguments(const Arguments& arguments, Surroundings surroundings) {
    ExitStatus status = ExitStatus::Internal;
    try {
        status = runFirstWord(arguments, surroundings);
    } catch (const Interrupted&) {
        return exitStatusOfSignal(surroundings.fInterruption.signal());
    } catch (const ReaderGone&) {
        status = ExitStatus::ReaderGone;
    } catch (const Failure& failure) {
        surroundings.fConsole.complain(failure.what());
        status = failure.status();
    } catch (const KVError& error) {
        if (surroundings.fInterruption.happened()) {
            return exitStatusOfSignal(surroundings.fInterruption.signal());
        }
        surroundings.fConsole.complain(error.toString());
        status = exitStatusOf(error.cause());
    } catch (const std::exception& error) {
        surroundings.fConsole.complain(error.what());
    }
    return static_cast<int>(status);
}

int runProgram(int argc, char** argv) {
    keepStandardDescriptors();
    Interruption interruption;
    const SignalWatcher signals(interruption);
    Console console(STDOUT_FILENO, STDERR_FILENO);
    return runArguments({argv + std::min(argc, 1), argv + argc}, {console, interruption});
}

}  // namespace robaxi_tool
