#include <base/file_descriptor.h>

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace {

/** A pipe whose ends do not block. */
struct Pipe {
    Pipe() : Pipe(create()) {}

    base::FileDescriptor fOut;
    base::FileDescriptor fIn;

  private:
    explicit Pipe(std::array<int, 2> ends) : fOut(ends[0]), fIn(ends[1]) {}
    static std::array<int, 2> create() {
        std::array<int, 2> ends{-1, -1};
        EXPECT_EQ(::pipe2(ends.data(), O_NONBLOCK | O_CLOEXEC), 0);
        return ends;
    }
};

}  // namespace

TEST(WriteAll, WritesEveryByte) {
    const Pipe pipe;
    std::size_t written = 0;
    EXPECT_EQ(base::writeAll(pipe.fIn.get(), "some bytes", &written), 0);
    EXPECT_EQ(written, 10U);
    std::string read(20, '\0');
    EXPECT_EQ(::read(pipe.fOut.get(), read.data(), read.size()), 10);
    EXPECT_EQ(read.substr(0, 10), "some bytes");
    EXPECT_EQ(base::writeAll(pipe.fIn.get(), "", &written), 0);
    EXPECT_EQ(written, 0U);
}

TEST(WriteAll, ReportsHowMuchFitsIntoAFullPipe) {
    const Pipe pipe;
    const int capacity = ::fcntl(pipe.fIn.get(), F_GETPIPE_SZ);
    const std::string bytes(static_cast<std::size_t>(capacity) + 1, 'x');
    std::size_t written = 0;
    EXPECT_EQ(base::writeAll(pipe.fIn.get(), bytes, &written), EAGAIN);
    EXPECT_EQ(written, static_cast<std::size_t>(capacity));
}

TEST(WriteAll, ReportsAFileThatCannotBeWritten) {
    const Pipe pipe;
    EXPECT_EQ(base::writeAll(pipe.fOut.get(), "x"), EBADF);
}
