// The recording of a robot by a viewer, whose thread must not wait for the robot's icon.

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <recording/reader.h>
#include <robot_recording/robot_file.h>

namespace {

using Clock = std::chrono::steady_clock;
using boost::asio::ip::tcp;

constexpr const char* a_address = "127.0.62.1";
constexpr unsigned short a_httpPort = 80;

/** The fastest of several recordings, since the machine may be busy. */
TEST(RobotFile, EndsAtOnceIfTheWebServerDoesNotAnswer) {
    constexpr int recordings = 5;
    boost::asio::io_context context;
    // The system accepts connections and takes requests for it.
    const tcp::acceptor silent(context,
                               tcp::endpoint(boost::asio::ip::make_address(a_address), a_httpPort));
    const std::string path =
        (std::filesystem::temp_directory_path() / "robot_file_test.mcap").string();
    Clock::duration fastest = Clock::duration::max();
    for (int i = 0; i < recordings; ++i) {
        const Clock::time_point start = Clock::now();
        {
            robot_recording::RobotFile file(path, {"robot1", a_address, a_address, 9559});
            file.finish();
        }
        fastest = std::min(fastest, Clock::now() - start);
        const recording::Reader reader(path);
        EXPECT_EQ(reader.metadata().size(), 1U);
        EXPECT_TRUE(reader.attachments().empty());
    }
    EXPECT_LT(fastest, std::chrono::milliseconds(500));
}

}  // namespace
