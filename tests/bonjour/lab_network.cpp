#include "lab_network.h"

#include "project_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <sstream>
#include <stdexcept>

namespace lab {

Result run(const Arguments& command) {
    ChildProcess process(command);
    const std::optional<int> status = process.waitForEnd();
    if (!status) {
        throw std::runtime_error(command.front() + " does not end");
    }
    return {*status, process.output(), process.errors()};
}

Process::Process(const Arguments& command) : fChild(command) {
}

Process::~Process() {
    fChild.signal(SIGTERM);
    EXPECT_TRUE(fChild.waitForEnd()) << "a command does not end";
}

Host::Host(const std::string& name) : fName(name) {
    control({"add", name});
}

Host::~Host() {
    control({"stop", fName});
}

std::unique_ptr<Process> Host::announce(const std::string& type, int port,
                                        const std::string& instance,
                                        const std::string& hostName) const {
    Arguments command = {"avahi-publish", "-s"};
    if (!hostName.empty()) {
        command.insert(command.end(), {"-H", hostName});
    }
    command.insert(command.end(),
                   {instance.empty() ? fName : instance, type, std::to_string(port)});
    return start(command);
}

std::unique_ptr<Process> Host::announceRaw(const Arguments& arguments) const {
    Arguments command = {obvista_test::builtFile("tests/mdns_announcer")};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return start(command);
}

std::unique_ptr<Process> Host::start(const Arguments& command) const {
    Arguments arguments = {"exec", fName, "--"};
    arguments.insert(arguments.end(), command.begin(), command.end());
    return std::make_unique<Process>(controlCommand(arguments));
}

std::size_t countBrowsed(const std::string& type, const std::string& interface) {
    std::istringstream lines(run({"avahi-browse", "-tp", type}).fOutput);
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line);) {
        count += line.rfind("+;" + interface + ";", 0) == 0 ? 1 : 0;
    }
    return count;
}

bool areBrowsed(const std::string& type, const std::vector<std::string>& instances) {
    const std::string found = run({"avahi-browse", "-tp", type}).fOutput;
    return std::all_of(instances.begin(), instances.end(), [&found](const std::string& instance) {
        return found.find(";" + instance + ";") != std::string::npos;
    });
}

std::string addressOf(const std::string& hostName) {
    const std::string line = run({"getent", "ahostsv4", hostName}).fOutput;
    return line.substr(0, line.find(' '));
}

}  // namespace lab
