#include "robot_process.h"

#include "project_files.h"

#include <csignal>
#include <stdexcept>

namespace obvista_test {

namespace {

constexpr int a_attempts = 10;

void addOption(std::vector<std::string>& command, const char* option, int value) {
    command.emplace_back(option);
    command.emplace_back(std::to_string(value));
}

}  // namespace

RobotProcess::RobotProcess() : RobotProcess(Settings()) {
}

RobotProcess::RobotProcess(const Settings& settings) {
    // Another program may take a free port before the robot listens on it.
    for (int attempt = 1; !xTryToStart(settings); ++attempt) {
        const bool mayHelp = fProcess->errors().find("in use") != std::string::npos;
        if (attempt == a_attempts || !mayHelp || settings.fPort != 0) {
            throw std::runtime_error("robaxi-robot did not start: " + fProcess->output() +
                                     fProcess->errors());
        }
    }
}

void RobotProcess::kill() {
    fProcess->signal(SIGKILL);
    fProcess->waitForEnd();
}

void RobotProcess::suspend() {
    fProcess->signal(SIGSTOP);
}

void RobotProcess::resume() {
    fProcess->signal(SIGCONT);
}

std::optional<int> RobotProcess::terminate() {
    fProcess->signal(SIGTERM);
    return fProcess->waitForEnd();
}

std::string RobotProcess::program() {
    return builtFile("bin/robaxi-robot");
}

bool RobotProcess::xTryToStart(const Settings& settings) {
    fPort = settings.fPort != 0 ? settings.fPort : freePort();
    fHttpPort = settings.fHttp ? freePort() : 0;
    fSimPort = settings.fSim ? freePort() : 0;
    std::vector<std::string> command{program(), "--address", address(), "--no-announce"};
    addOption(command, "--port", fPort);
    addOption(command, "--http-port", fHttpPort);
    addOption(command, "--sim-port", fSimPort);
    command.insert(command.end(), settings.fArguments.begin(), settings.fArguments.end());
    fProcess = std::make_unique<ChildProcess>(command);
    return fProcess->waitForOutput(" listens on ");
}

}  // namespace obvista_test
