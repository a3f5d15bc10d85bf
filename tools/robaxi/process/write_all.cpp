#include "process/write_all.h"

#include <cerrno>
#include <poll.h>
#include <unistd.h>

namespace robaxi_tool {

namespace {

constexpr int a_forever = -1;

void waitForSpace(int descriptor) {
    pollfd waited{descriptor, POLLOUT, 0};
    poll(&waited, 1, a_forever);
}

}  // namespace

int writeAll(int descriptor, const std::string& bytes) {
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t count = write(descriptor, bytes.data() + written, bytes.size() - written);
        if (count >= 0) {
            written += static_cast<std::size_t>(count);
        } else if (errno == EAGAIN) {
            waitForSpace(descriptor);
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

}  // namespace robaxi_tool
