#include "process/console.h"

#include "process/failure.h"

#include <base/file_descriptor.h>
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

int writeWaiting(int descriptor, std::string_view bytes) {
    std::size_t written = 0;
    int error = base::writeAll(descriptor, bytes, &written);
    while (error == EAGAIN) {
        waitForSpace(descriptor);
        bytes.remove_prefix(written);
        error = base::writeAll(descriptor, bytes, &written);
    }
    return error;
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
    const int error = writeWaiting(fOutput, text);
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
    writeWaiting(fErrors, "robaxi: " + base::oneLine(sentence) + '\n');
}

}  // namespace robaxi_tool
