#include "network/aliases.h"

#include "process/failure.h"
#include "process/output_file.h"

#include <base/address.h>
#include <base/blanks.h>
#include <base/file_descriptor.h>
#include <base/user_folder.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/file.h>
#include <system_error>
#include <vector>

namespace robaxi_tool {

namespace {

constexpr std::size_t a_longestName = 63;
/** A larger file is refused: every command would read it. */
constexpr std::uintmax_t a_largestFile = 1 << 20;

bool isNameCharacter(char character) {
    return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '-' ||
           character == '_' || character == '.';
}

/** Returns the name of a line; empty for a comment or an empty line. */
std::string nameOfLine(const std::string& line) {
    const std::string text(base::trimmed(line.substr(0, line.find('='))));
    return text.empty() || text.front() == '#' ? "" : text;
}

std::vector<std::string> linesOf(const std::string& file) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    if (error == std::errc::no_such_file_or_directory) {
        return {};
    }
    if (!error && size > a_largestFile) {
        throw Failure(ExitStatus::WrongUsage, "The file " + file + " is larger than 1 MiB.");
    }
    std::ifstream stream(file);
    if (error || !stream) {
        throw Failure(ExitStatus::WrongUsage, "The file " + file + " cannot be read.");
    }
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/** Creates the folder of a file and locks it until the object is destroyed. */
class FolderLock {
  public:
    explicit FolderLock(const std::string& file) : fFolder(xOpen(file)) {
        while (flock(fFolder.get(), LOCK_EX) != 0) {
            if (errno != EINTR) {
                xFail(file, errno);
            }
        }
    }

  private:
    static int xOpen(const std::string& file) {
        const std::filesystem::path folder = std::filesystem::path(file).parent_path();
        std::error_code error;
        std::filesystem::create_directories(folder, error);
        const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (descriptor < 0) {
            xFail(file, errno);
        }
        return descriptor;
    }

    [[noreturn]] static void xFail(const std::string& file, int error) {
        throw Failure(ExitStatus::CannotWrite,
                      file + " cannot be written: " + std::generic_category().message(error) + '.');
    }

    base::FileDescriptor fFolder;
};

}  // namespace

std::string aliasFile() {
    const std::string folder = base::settingsFolder();
    if (folder.empty()) {
        throw Failure(ExitStatus::WrongUsage,
                      "There is no folder for aliases: neither HOME nor XDG_CONFIG_HOME is set.");
    }
    return folder + "/robaxi.aliases";
}

void checkAliasName(const std::string& name) {
    if (name.empty() || name.size() > a_longestName || base::isAddress(name) ||
        !std::all_of(name.begin(), name.end(), isNameCharacter)) {
        throw UsageError("'" + name +
                         "' cannot be an alias, which has 1 to 63 letters, digits, '-', '_' and "
                         "'.' and is not an address");
    }
}

Aliases readAliases(const std::string& file) {
    Aliases aliases;
    unsigned long number = 0;
    for (const std::string& line : linesOf(file)) {
        ++number;
        const std::string name = nameOfLine(line);
        if (name.empty()) {
            continue;
        }
        const std::size_t equals = line.find('=');
        try {
            const std::string host(
                equals == std::string::npos ? "" : base::trimmed(line.substr(equals + 1)));
            checkAliasName(name);
            parseTarget(host);
            aliases[name] = host;
        } catch (const UsageError& mistake) {
            throw Failure(ExitStatus::WrongUsage, "The file " + file + ", line " +
                                                      std::to_string(number) + ": " +
                                                      mistake.what() + '.');
        }
    }
    return aliases;
}

void writeAlias(const std::string& file, const std::string& name, const std::string& host) {
    const FolderLock lock(file);
    const std::string line = name + " = " + host;
    std::string content;
    bool isWritten = host.empty();
    for (const std::string& old : linesOf(file)) {
        if (nameOfLine(old) != name) {
            content += old + '\n';
        } else if (!isWritten) {
            content += line + '\n';
            isWritten = true;
        }
    }
    writeFile(file, content + (isWritten ? "" : line + '\n'));
}

Target givenTarget(const std::string& text) {
    Target target = parseTarget(text);
    if (base::isAddress(target.fHost) || base::settingsFolder().empty()) {
        return target;
    }
    const Aliases aliases = readAliases(aliasFile());
    const auto alias = aliases.find(target.fHost);
    if (alias == aliases.end()) {
        return target;
    }
    Target named = parseTarget(alias->second);
    named.fPort = target.fPort ? target.fPort : named.fPort;
    return named;
}

}  // namespace robaxi_tool
