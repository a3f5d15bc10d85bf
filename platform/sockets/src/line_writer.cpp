#include <poll.h>
#include <sockets/line_writer.h>
#include <unistd.h>

namespace sockets {

void writeLine(int file, const std::string& line) {
    const std::string text = line + '\n';
    pollfd waited{file, POLLOUT, 0};
    if (::poll(&waited, 1, 0) == 1) {
        [[maybe_unused]] const ssize_t written = ::write(file, text.data(), text.size());
    }
}

}  // namespace sockets
