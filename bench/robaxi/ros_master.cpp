#include "ros_master.h"

#include "loopback.h"

#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <signal.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace bench {

namespace {

int findFreePort() {
    int port = 0;
    ::close(loopback::listen(port));
    return port;
}

}  // namespace

RosMaster::RosMaster()
    : fFolder((std::filesystem::temp_directory_path() / "ros-master-XXXXXX").string()) {
    if (::mkdtemp(fFolder.data()) == nullptr) {
        throw std::runtime_error("no folder for ROS");
    }
    const int port = findFreePort();
    ::setenv("ROS_MASTER_URI", ("http://127.0.0.1:" + std::to_string(port)).c_str(), 1);
    ::setenv("ROS_IP", "127.0.0.1", 1);
    ::setenv("ROS_HOME", fFolder.c_str(), 1);
    xStart(std::to_string(port));
    xAwait(port);
}

RosMaster::~RosMaster() {
    if (fPid > 0) {
        ::kill(fPid, SIGKILL);
        ::waitpid(fPid, nullptr, 0);
    }
    std::error_code ignored;
    std::filesystem::remove_all(fFolder, ignored);
}

void RosMaster::xStart(const std::string& port) {
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
        ::posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
    }
    std::string words[] = {"rosmaster", "--core", "-p", port};
    char* arguments[] = {words[0].data(), words[1].data(), words[2].data(), words[3].data(),
                         nullptr};
    const int error = ::posix_spawnp(&fPid, arguments[0], &actions, nullptr, arguments, environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::runtime_error("rosmaster cannot be started");
    }
}

void RosMaster::xAwait(int port) const {
    constexpr std::chrono::seconds patience{30};
    constexpr std::chrono::milliseconds step{20};
    const auto end = std::chrono::steady_clock::now() + patience;
    while (std::chrono::steady_clock::now() < end && ::waitpid(fPid, nullptr, WNOHANG) == 0) {
        try {
            ::close(loopback::connect(port));
            return;
        } catch (const std::runtime_error&) {
            std::this_thread::sleep_for(step);
        }
    }
    throw std::runtime_error("rosmaster does not listen");
}

}  // namespace bench
