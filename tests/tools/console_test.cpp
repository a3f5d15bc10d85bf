#include "process/console.h"

#include "process/failure.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace robaxi_tool {
namespace {

/** A file in memory. */
class MemoryFile {
  public:
    MemoryFile() : fNumber(memfd_create("console", MFD_CLOEXEC)) {}
    ~MemoryFile() { close(fNumber); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    int number() const { return fNumber; }

    std::string text() const {
        std::array<char, 1024> buffer{};
        const ssize_t size = pread(fNumber, buffer.data(), buffer.size(), 0);
        return {buffer.data(), static_cast<std::size_t>(size)};
    }

  private:
    int fNumber;
};

TEST(Console, ResultsAndRemarksGoDifferentWays) {
    const MemoryFile output;
    const MemoryFile errors;
    Console console(output.number(), errors.number());
    console.print("a result\n");
    console.complain("Something is wrong.");
    EXPECT_EQ("a result\n", output.text());
    EXPECT_EQ("robaxi: Something is wrong.\n", errors.text());
}

TEST(Console, ARemarkIsOneLine) {
    const MemoryFile errors;
    Console console(errors.number(), errors.number());
    console.complain("one\ntwo\x1b[2J");
    EXPECT_EQ("robaxi: one\\ntwo\\u001b[2J\n", errors.text());
}

TEST(Console, AFullDiskIsReported) {
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    Console console(full, full);
    try {
        console.print("a result\n");
        ADD_FAILURE() << "it was written to a full device";
    } catch (const Failure& failure) {
        EXPECT_EQ(ExitStatus::CannotWrite, failure.status());
        EXPECT_NE(std::string::npos, std::string(failure.what()).find("No space left"));
    }
    close(full);
}

TEST(Console, AReaderThatWentAwayEndsIt) {
    std::signal(SIGPIPE, SIG_IGN);
    std::array<int, 2> ends{};
    ASSERT_EQ(0, pipe2(ends.data(), O_CLOEXEC));
    close(ends[0]);
    Console console(ends[1], ends[1]);
    EXPECT_THROW(console.print("a result\n"), ReaderGone);
    close(ends[1]);
}

/** A pseudo-terminal. */
class Terminal {
  public:
    Terminal() : fMaster(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        grantpt(fMaster);
        unlockpt(fMaster);
        fSlave = open(ptsname(fMaster), O_RDWR | O_NOCTTY | O_CLOEXEC);
    }
    ~Terminal() {
        close(fSlave);
        close(fMaster);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    int number() const { return fSlave; }

  private:
    int fMaster;
    int fSlave;
};

std::string paintedOn(int descriptor, Console::Color color) {
    Console console(descriptor, descriptor);
    console.setColor(color);
    return console.painted(Console::Paint::Red, "text");
}

TEST(Console, ColoursAreForTerminalsOnly) {
    setenv("TERM", "xterm", 1);
    unsetenv("NO_COLOR");
    const Terminal terminal;
    ASSERT_TRUE(isatty(terminal.number()));
    EXPECT_EQ("\x1b[31mtext\x1b[0m", paintedOn(terminal.number(), Console::Color::Auto));
    EXPECT_EQ("text", paintedOn(terminal.number(), Console::Color::Never));
    EXPECT_EQ("text", paintedOn(MemoryFile().number(), Console::Color::Auto));
    setenv("NO_COLOR", "1", 1);
    EXPECT_EQ("text", paintedOn(terminal.number(), Console::Color::Auto));
    unsetenv("NO_COLOR");
    setenv("TERM", "dumb", 1);
    EXPECT_EQ("text", paintedOn(terminal.number(), Console::Color::Auto));
}

}  // namespace
}  // namespace robaxi_tool
