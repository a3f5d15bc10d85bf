#include "input_file.h"

#include <base/safe_text.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <recording/records.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace recording {

namespace {

constexpr std::size_t a_window = std::size_t{64} << 10U;

[[noreturn]] void failToOpen(const std::string& path, const std::string& reason) {
    throw RecordingError("cannot open " + base::oneLine(path) + ": " + reason);
}

}  // namespace

// Without O_NONBLOCK the program would wait for a writer of a pipe.
InputFile::InputFile(const std::string& path)
    : fFile(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {
    struct stat status {};
    if (fFile.get() < 0 || ::fstat(fFile.get(), &status) != 0) {
        failToOpen(path, std::generic_category().message(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        failToOpen(path, "not a regular file");
    }
    fSize = static_cast<std::uint64_t>(status.st_size);
}

void InputFile::read(std::uint64_t offset, char* bytes, std::size_t size) const {
    while (size > 0) {
        const ssize_t count = ::pread(fFile.get(), bytes, size, static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            throw RecordingError(
                "cannot read byte " + std::to_string(offset) + ": " +
                (count == 0 ? "the file became shorter" : std::generic_category().message(errno)));
        }
        offset += static_cast<std::uint64_t>(count);
        bytes += count;
        size -= static_cast<std::size_t>(count);
    }
}

std::string_view InputFile::view(std::uint64_t offset, std::size_t size) const {
    const bool isInWindow = offset >= fWindowStart && offset - fWindowStart <= fWindowSize &&
                            size <= fWindowSize - (offset - fWindowStart);
    if (!isInWindow) {
        const auto wanted = static_cast<std::size_t>(
            std::min<std::uint64_t>(std::max(size, a_window), fSize - offset));
        if (fWindow.size() < wanted || fWindow.size() > a_window) {
            fWindow = std::vector<char>(std::max(wanted, a_window));
        }
        fWindowSize = 0;
        read(offset, fWindow.data(), wanted);
        fWindowStart = offset;
        fWindowSize = wanted;
    }
    return {fWindow.data() + (offset - fWindowStart), size};
}

}  // namespace recording
