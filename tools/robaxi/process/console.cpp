#include "process/console.h"

#include "process/failure.h"

#include <base/safe_text.h>

#include <cerrno>
#include <cstdlib>
#include <poll.h>
#include <system_error>
#include <unistd.h>

namespace robaxi_tool {

namespace {

constexpr int a_forever = -1;

void waitForSpace(int descriptor) {
    pollfd waited{descriptor, POLLOUT, 0};
    poll(&waited, 1, a_forever);
}

bool isTerminalWithColors(int descriptor) {
    const char* const kind = std::getenv("TERM");
    const char* const unwanted = std::getenv("NO_COLOR");
    return isatty(descriptor) != 0 && kind != nullptr && std::string(kind) != "dumb" &&
           (unwanted == nullptr || *unwanted == '\0');
}

const char* escapeSequence(Console::Paint paint) {
    switch (paint) {
        case Console::Paint::Green:
            return "\x1b[32m";
        case Console::Paint::Yellow:
            return "\x1b[33m";
        case Console::Paint::Red:
            return "\x1b[31m";
        case Console::Paint::Dim:
            break;
    }
    return "\x1b[2m";
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

Console::Console(int output, int errors)
    : fOutput(output), fErrors(errors), fPaints(isTerminalWithColors(output)) {
}

void Console::setColor(Color color) {
    fPaints = color == Color::Auto && isTerminalWithColors(fOutput);
}

bool Console::isTerminal() const {
    return isatty(fOutput) != 0;
}

std::string Console::painted(Paint paint, const std::string& text) const {
    return fPaints ? escapeSequence(paint) + text + "\x1b[0m" : text;
}

void Console::print(const std::string& text) {
    const std::lock_guard lock(fMutex);
    const int error = writeAll(fOutput, text);
    if (error == EPIPE) {
        throw ReaderGone();
    }
    if (error != 0) {
        throw Failure(ExitStatus::CannotWrite, "The results cannot be written: " +
                                                   std::generic_category().message(error) + ".");
    }
}

void Console::complain(const std::string& sentence) {
    const std::lock_guard lock(fMutex);
    // A failure of this cannot be reported.
    writeAll(fErrors, "robaxi: " + base::oneLine(sentence) + '\n');
}

}  // namespace robaxi_tool
