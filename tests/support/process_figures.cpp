#include "process_figures.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace obvista_test {

namespace {

std::size_t countEntries(const std::string& folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

std::set<std::string> socketsOf(const std::string& process) {
    std::set<std::string> sockets;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/" + process + "/fd")) {
        std::error_code ignored;
        const std::string target = std::filesystem::read_symlink(entry.path(), ignored).string();
        if (target.rfind("socket:[", 0) == 0) {
            sockets.insert(target.substr(8, target.size() - 9));
        }
    }
    return sockets;
}

/** Returns the port of each socket on which a process listens. */
std::vector<int> listeningPorts(const std::string& process) {
    const std::set<std::string> own = socketsOf(process);
    std::vector<int> ports;
    for (const char* table : {"/net/tcp", "/net/tcp6"}) {
        std::ifstream file("/proc/" + process + table);
        std::string line;
        std::getline(file, line);
        while (std::getline(file, line)) {
            std::istringstream fields(line);
            std::string slot, local, remote, state, queues, timer, retransmits, user, timeOut,
                inode;
            fields >> slot >> local >> remote >> state >> queues >> timer >> retransmits >> user >>
                timeOut >> inode;
            constexpr const char* listening = "0A";
            constexpr int hexadecimal = 16;
            if (state == listening && own.count(inode) != 0) {
                ports.push_back(std::stoi(local.substr(local.find(':') + 1), nullptr, hexadecimal));
            }
        }
    }
    return ports;
}

}  // namespace

std::size_t countListeningSockets() {
    return listeningPorts("self").size();
}

bool listensOn(const std::string& process, int port) {
    const std::vector<int> ports = listeningPorts(process);
    return std::find(ports.begin(), ports.end(), port) != ports.end();
}

std::size_t countDescriptors(const std::string& process) {
    return countEntries("/proc/" + process + "/fd");
}

std::size_t countThreads(const std::string& process) {
    return countEntries("/proc/" + process + "/task");
}

std::size_t residentBytes(pid_t process) {
    std::size_t pages = 0;
    std::size_t residentPages = 0;
    std::ifstream("/proc/" + std::to_string(process) + "/statm") >> pages >> residentPages;
    return residentPages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

}  // namespace obvista_test
