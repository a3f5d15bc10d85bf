#include <base/file_descriptor.h>

#include <cerrno>

namespace base {

int writeAll(int file, std::string_view bytes, std::size_t* written) {
    int error = 0;
    std::size_t done = 0;
    while (error == 0 && done < bytes.size()) {
        const ssize_t count = ::write(file, bytes.data() + done, bytes.size() - done);
        if (count >= 0) {
            done += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            error = errno;
        }
    }
    if (written != nullptr) {
        *written = done;
    }
    return error;
}

}  // namespace base
