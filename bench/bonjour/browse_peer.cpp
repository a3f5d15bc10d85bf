#include "browse_peer.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace bench {

BrowsePeer::BrowsePeer(const std::string& type) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    std::string program = "stdbuf";
    std::string lines = "-oL";
    std::string browse = "avahi-browse";
    std::string options = "-rp";
    std::string wanted = type;
    char* const command[] = {program.data(), lines.data(),  browse.data(),
                             options.data(), wanted.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    const int error = posix_spawnp(&fPid, command[0], &actions, nullptr, command, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (error != 0) {
        close(ends[0]);
        throw std::system_error(error, std::generic_category(), program);
    }
    fReader = std::thread([this, descriptor = ends[0]] { xRead(descriptor); });
}

BrowsePeer::~BrowsePeer() {
    kill(fPid, SIGTERM);
    waitpid(fPid, nullptr, 0);
    fReader.join();
}

void BrowsePeer::xRead(int descriptor) {
    FILE* const stream = fdopen(descriptor, "r");
    char buffer[1024];
    while (std::fgets(buffer, sizeof buffer, stream) != nullptr) {
        xTake(buffer);
    }
    std::fclose(stream);
}

void BrowsePeer::xTake(const std::string& line) {
    std::istringstream fields(line);
    std::string event;
    std::string interface;
    std::string protocol;
    std::string robot;
    std::getline(fields, event, ';');
    std::getline(fields, interface, ';');
    std::getline(fields, protocol, ';');
    std::getline(fields, robot, ';');
    if (event == "=") {
        fResolved.add(robot);
    } else if (event == "+") {
        ++fSightings[robot];
    } else if (event == "-" && --fSightings[robot] == 0) {
        fRemoved.add(robot);
    }
}

}  // namespace bench
