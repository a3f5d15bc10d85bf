#include "process_figures.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <unistd.h>

namespace obvista_test {

namespace {

std::size_t countEntries(const std::string& folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

std::set<std::string> ownSockets() {
    std::set<std::string> sockets;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code ignored;
        const std::string target = std::filesystem::read_symlink(entry.path(), ignored).string();
        if (target.rfind("socket:[", 0) == 0) {
            sockets.insert(target.substr(8, target.size() - 9));
        }
    }
    return sockets;
}

std::size_t countListening(const char* table, const std::set<std::string>& own) {
    std::ifstream file(table);
    std::string line;
    std::getline(file, line);
    std::size_t count = 0;
    while (std::getline(file, line)) {
        std::istringstream fields(line);
        std::string slot, local, remote, state, queues, timer, retransmits, user, timeOut, inode;
        fields >> slot >> local >> remote >> state >> queues >> timer >> retransmits >> user >>
            timeOut >> inode;
        constexpr const char* listening = "0A";
        count += static_cast<std::size_t>(state == listening && own.count(inode) != 0);
    }
    return count;
}

}  // namespace

std::size_t countListeningSockets() {
    const std::set<std::string> own = ownSockets();
    return countListening("/proc/self/net/tcp", own) + countListening("/proc/self/net/tcp6", own);
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
