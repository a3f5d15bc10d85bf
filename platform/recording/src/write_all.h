#ifndef RECORDING_WRITE_ALL_H
#define RECORDING_WRITE_ALL_H

#include <cerrno>
#include <string_view>
#include <unistd.h>

namespace recording {

/** Writes all bytes. @return 0 or the error's number */
inline int writeAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(file, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        bytes.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
    }
    return 0;
}

}  // namespace recording

#endif
