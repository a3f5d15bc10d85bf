#include "file_cache.h"

#include <fcntl.h>
#include <fstream>
#include <unistd.h>

namespace bench {

namespace {

constexpr const char* a_switch = "/proc/sys/vm/drop_caches";

/** Writes the value that frees the pages of files, and the names and attributes of files. */
bool dropAll() {
    std::ofstream file(a_switch);
    return static_cast<bool>(file << "3\n" << std::flush);
}

void drop(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor >= 0) {
        ::posix_fadvise(descriptor, 0, 0, POSIX_FADV_DONTNEED);
        ::close(descriptor);
    }
}

}  // namespace

void FileCache::addFilesOf(pid_t process) {
    std::ifstream maps("/proc/" + std::to_string(process) + "/maps");
    for (std::string line; std::getline(maps, line);) {
        const auto path = line.find('/');
        if (path != std::string::npos) {
            fFiles.insert(line.substr(path));
        }
    }
}

void FileCache::empty() const {
    ::sync();  // only clean pages can be freed
    if (!dropAll()) {
        for (const std::string& path : fFiles) {
            drop(path);
        }
    }
}

std::string FileCache::method() const {
    return ::access(a_switch, W_OK) == 0
               ? std::string("emptied by ") + a_switch
               : "without " + std::to_string(fFiles.size()) + " files (posix_fadvise)";
}

}  // namespace bench
