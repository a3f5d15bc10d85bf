#include "spill.h"

#include <base/safe_text.h>

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <recording/records.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace recording {

namespace {

constexpr std::size_t a_inMemory = std::size_t{4} << 20U;
constexpr mode_t a_mode = 0600;

/** Not every file system has files without a name. */
int openUnnamed(const std::string& folder) {
    const int file = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, a_mode);
    if (file >= 0) {
        return file;
    }
    std::string name = folder + "/.recording-index-XXXXXX";
    const int named = ::mkostemp(name.data(), O_CLOEXEC);
    if (named >= 0) {
        ::unlink(name.c_str());
    }
    return named;
}

[[noreturn]] void failToKeep(const std::string& folder, int error) {
    throw WriteError("cannot write the index to " + base::oneLine(folder) + ": " +
                     std::generic_category().message(error));
}

}  // namespace

Spill::Spill(const std::string& path)
    : fFolder(std::filesystem::absolute(path).parent_path().string()) {
}

void Spill::append(std::string_view bytes) {
    if (fInMemory.size() + bytes.size() > a_inMemory) {
        xMoveToFile();
    }
    fInMemory += bytes;
}

void Spill::replay(const std::function<void(std::string_view)>& take) const {
    std::vector<char> piece(std::min<std::uint64_t>(fInFile, std::size_t{1} << 20U));
    for (std::uint64_t offset = 0; offset < fInFile;) {
        const std::size_t wanted = std::min<std::uint64_t>(piece.size(), fInFile - offset);
        const ssize_t count =
            ::pread(fFile.get(), piece.data(), wanted, static_cast<off_t>(offset));
        if (count <= 0) {
            if (count < 0 && errno == EINTR) {
                continue;
            }
            throw RecordingError("cannot read the index in " + base::oneLine(fFolder));
        }
        take({piece.data(), static_cast<std::size_t>(count)});
        offset += static_cast<std::uint64_t>(count);
    }
    take(fInMemory);
}

void Spill::xMoveToFile() {
    if (fFile.get() < 0) {
        fFile = base::FileDescriptor(openUnnamed(fFolder));
        if (fFile.get() < 0) {
            failToKeep(fFolder, errno);
        }
    }
    if (const int error = base::writeAll(fFile.get(), fInMemory)) {
        failToKeep(fFolder, error);
    }
    fInFile += fInMemory.size();
    fInMemory.clear();
}

}  // namespace recording
