#include "fields.h"

#include <base/safe_text.h>

#include <cerrno>
#include <fcntl.h>
#include <recording/output_file.h>
#include <recording/records.h>
#include <system_error>
#include <unistd.h>

namespace recording {

namespace {

constexpr mode_t a_mode = 0666;

}  // namespace

// Without O_NONBLOCK the program would wait for a reader of a pipe.
OutputFile::OutputFile(const std::string& path, bool overwrites)
    : fPath(base::oneLine(path)),
      fFile(::open(
          path.c_str(),
          O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | (overwrites ? O_TRUNC : O_EXCL),
          a_mode)) {
    if (fFile.get() < 0) {
        throw WriteError("cannot create " + fPath + ": " + std::generic_category().message(errno));
    }
}

void OutputFile::append(std::initializer_list<std::string_view> pieces) {
    const std::uint64_t sizeBefore = fSize;
    const std::uint32_t crcBefore = fCrc;
    for (const std::string_view bytes : pieces) {
        if (const int error = base::writeAll(fFile.get(), bytes)) {
            cutOff(sizeBefore, crcBefore);
            xFail(error);
        }
        fSize += bytes.size();
        fCrc = crc32Of(bytes, fCrc);
    }
}

void OutputFile::cutOff(std::uint64_t size, std::uint32_t crc) {
    const auto end = static_cast<off_t>(size);
    // Should that fail, a reader stops at the record that is cut off.
    if (::ftruncate(fFile.get(), end) == 0) {
        ::lseek(fFile.get(), end, SEEK_SET);
    }
    fSize = size;
    fCrc = crc;
}

void OutputFile::close() {
    if (::close(fFile.release()) != 0) {
        xFail(errno);
    }
}

void OutputFile::xFail(int error) const {
    throw WriteError("cannot write " + fPath + ": " + std::generic_category().message(error));
}

}  // namespace recording
