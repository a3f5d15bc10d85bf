#ifndef BASE_FILE_DESCRIPTOR_H
#define BASE_FILE_DESCRIPTOR_H

#include <cstddef>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace base {

/** An owned file descriptor; -1 if there is none. */
class FileDescriptor {
  public:
    explicit FileDescriptor(int descriptor) : fDescriptor(descriptor) {}
    ~FileDescriptor() {
        if (fDescriptor >= 0) {
            ::close(fDescriptor);
        }
    }
    FileDescriptor(FileDescriptor&& other) noexcept
        : fDescriptor(std::exchange(other.fDescriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(fDescriptor, other.fDescriptor);
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return fDescriptor; }
    /** Passes ownership to the caller. */
    int release() { return std::exchange(fDescriptor, -1); }

  private:
    int fDescriptor;
};

/**
 * Writes all bytes to a file.
 *
 * @param[out] written the number of bytes in the file, also after an error
 * @return 0 or the error's number; EAGAIN if the file is non-blocking and its reader is slow
 */
int writeAll(int file, std::string_view bytes, std::size_t* written = nullptr);

}  // namespace base

#endif
