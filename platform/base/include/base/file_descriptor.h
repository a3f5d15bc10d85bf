#ifndef BASE_FILE_DESCRIPTOR_H
#define BASE_FILE_DESCRIPTOR_H

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

}  // namespace base

#endif
