#include "lab_control.h"

#include "child_process.h"

#include <cstdio>
#include <cstdlib>

namespace obvista_test::lab {

namespace {

[[noreturn]] void fail(const std::string& reason) {
    std::fprintf(stderr, "%s\n", reason.c_str());
    std::abort();
}

}  // namespace

std::vector<std::string> controlCommand(const std::vector<std::string>& arguments) {
    const char* const folder = std::getenv("OBVISTA_LAB");
    if (folder == nullptr) {
        fail("this program runs inside lab/run");
    }
    std::vector<std::string> command = {std::string(folder) + "/ctl"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

std::string control(const std::vector<std::string>& arguments) {
    ChildProcess process(controlCommand(arguments));
    if (process.waitForEnd() != 0) {
        fail("lab/ctl " + arguments.front() + " failed: " + process.errors());
    }
    return process.output();
}

}  // namespace obvista_test::lab
