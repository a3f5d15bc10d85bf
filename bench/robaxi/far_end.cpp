#include "far_end.h"

#include <cstdio>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

FarEnd::FarEnd(const std::string& argument, std::string program) {
    int input[2];
    int output[2];
    if (::pipe2(input, O_CLOEXEC) != 0 || ::pipe2(output, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    std::string copy = argument;
    char* arguments[] = {program.data(), copy.data(), nullptr};
    const int error = ::posix_spawn(&fPid, program.c_str(), &actions, nullptr, arguments, environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(input[0]);
    ::close(output[1]);
    fInput = input[1];
    std::FILE* ports = ::fdopen(output[0], "r");
    const bool hasStarted =
        error == 0 && std::fscanf(ports, "%d %d", &fBrokerPort, &fPlainPort) == 2;
    std::fclose(ports);
    if (!hasStarted) {
        throw std::runtime_error("the far end did not start");
    }
}

FarEnd::~FarEnd() {
    ::close(fInput);
    ::waitpid(fPid, nullptr, 0);
}

void serveAt(int brokerPort, int plainPort) {
    std::printf("%d %d\n", brokerPort, plainPort);
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
}

}  // namespace bench
