#include "process/output_file.h"

#include "process/console.h"
#include "process/failure.h"

#include <base/safe_text.h>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace robaxi_tool {

namespace {

constexpr mode_t a_readAndWrite = 0666;

[[noreturn]] void fail(const std::string& name, int error) {
    throw Failure(ExitStatus::CannotWrite,
                  name + " cannot be written: " + std::generic_category().message(error) + '.');
}

/** Writes and closes. @return 0, or the error number */
int writeAndClose(int descriptor, const std::string& content) {
    const int error = writeWaiting(descriptor, content);
    // Some file systems report only now that there is no space.
    const int closed = close(descriptor) == 0 ? 0 : errno;
    return error != 0 ? error : closed;
}

mode_t usualMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return a_readAndWrite & ~mask;
}

void writeInPlace(const std::string& name, const std::string& content) {
    const int descriptor = open(name.c_str(), O_WRONLY | O_CLOEXEC);
    const int error = descriptor < 0 ? errno : writeAndClose(descriptor, content);
    if (error != 0) {
        fail(name, error);
    }
}

void replace(const std::string& name, const std::string& content) {
    // Follows a link, so that the link is kept.
    std::error_code ignored;
    const std::filesystem::path resolved = std::filesystem::weakly_canonical(name, ignored);
    const std::string target = ignored ? name : resolved.string();
    std::string draft = target + ".XXXXXX";
    const int descriptor = mkostemp(draft.data(), O_CLOEXEC);
    if (descriptor < 0) {
        fail(name, errno);
    }
    fchmod(descriptor, usualMode());
    int error = writeAndClose(descriptor, content);
    if (error == 0 && std::rename(draft.c_str(), target.c_str()) != 0) {
        error = errno;
    }
    if (error != 0) {
        unlink(draft.c_str());
        fail(name, error);
    }
}

/** Letters that every shell takes. */
bool isLetter(char32_t code) {
    return (code >= 'a' && code <= 'z') || (code >= 'A' && code <= 'Z') ||
           (code >= '0' && code <= '9');
}

}  // namespace

void writeFile(const std::string& name, const std::string& content) {
    struct stat status {};
    if (stat(name.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        writeInPlace(name, content);
    } else {
        replace(name, content);
    }
}

std::string fileNameWord(const std::string& text) {
    return base::fileNamePart(text, isLetter);
}

}  // namespace robaxi_tool
