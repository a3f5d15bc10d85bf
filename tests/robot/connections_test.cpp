// Silent connections, more of them than the robot has descriptors for.
#include "certificates.h"
#include "robot_process.h"
#include "tcp_client.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_settings.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

using obvista_test::Certificate;
using obvista_test::RobotProcess;
using testing::HasSubstr;

namespace {

constexpr int a_timeOut = 20;  // seconds; generous, since the machine may be busy
constexpr rlim_t a_fewDescriptors = 64;
constexpr int a_connections = 100;
const std::string a_exhaustion = "file descriptors of this program (ulimit -n)";

using Clients = std::vector<std::unique_ptr<TcpClient>>;

class ConnectionsTest : public testing::Test {
  protected:
    ConnectionsTest() {
        const rlimit limit{a_fewDescriptors, a_fewDescriptors};
        EXPECT_EQ(::prlimit(fRobot.process().pid(), RLIMIT_NOFILE, &limit, nullptr), 0);
    }

    static int readValue(int port) {
        const auto broker = KVBroker::createBroker("test", "", 0, "", 0, 0, "", false);
        KVProxy memory("KVMemory", RobotProcess::address(), port, broker, a_timeOut, 0);
        return memory.call<int>("getData", "Robot/Joints");
    }

    static Clients connectIdle(int port, const std::string& first = {}) {
        Clients clients;
        for (int n = 0; n < a_connections; ++n) {
            clients.push_back(std::make_unique<TcpClient>(port));
            clients.back()->send(first);
        }
        return clients;
    }

    void expectService() {
        EXPECT_EQ(readValue(fRobot.port()), 25);
        EXPECT_EQ(httpGet(fRobot.httpPort(), "/page.css").fStatus, 200);
    }

    RobotProcess fRobot{{{}, true}};
};

TEST_F(ConnectionsTest, beyondItsDescriptorsDoNotMakeItDeaf) {
    Clients idle = connectIdle(fRobot.port());
    EXPECT_TRUE(fRobot.process().waitForErrors(a_exhaustion));
    expectService();
    idle.clear();
    expectService();
}

TEST_F(ConnectionsTest, thatBeginToSpeakDoNotMakeItDeaf) {
    Clients idle = connectIdle(fRobot.port(), "PRI * HTTP/2.0\r\n");
    EXPECT_TRUE(fRobot.process().waitForErrors(a_exhaustion));
    expectService();
    idle.clear();
    expectService();
}

TEST_F(ConnectionsTest, ofItsWebServerDoNotMakeItDeaf) {
    Clients idle = connectIdle(fRobot.httpPort());
    EXPECT_TRUE(fRobot.process().waitForErrors("HTTP: nearly all of the 64 " + a_exhaustion));
    expectService();
    idle.clear();
    expectService();
}

TEST_F(ConnectionsTest, leaveDescriptorsToThoseWhoAreServed) {
    const auto broker = KVBroker::createBroker("test", "", 0, "", 0, 0, "", false);
    const auto served =
        KVConnection::open(broker, RobotProcess::address(), fRobot.port(), a_timeOut);
    const Clients idle = connectIdle(fRobot.port());
    const Clients asking = connectIdle(fRobot.httpPort(), "GET / HT");
    ASSERT_TRUE(fRobot.process().waitForErrors(a_exhaustion));
    // A reserve of eight, of which the robot may have used one or two.
    for (rlim_t number = a_fewDescriptors - 6; number < a_fewDescriptors; ++number) {
        const std::string entry =
            "/proc/" + std::to_string(fRobot.process().pid()) + "/fd/" + std::to_string(number);
        EXPECT_NE(::access(entry.c_str(), F_OK), 0) << entry;
    }
    EXPECT_FALSE(served->getModules(a_timeOut).empty());
}

TEST_F(ConnectionsTest, thatNeverSayHelloAreClosed) {
    TcpClient silent(fRobot.port());
    TcpClient half(fRobot.port());
    half.send("PRI * HTTP/2.0\r\n");
    TcpClient whole(fRobot.port());
    const std::string noSettings("\0\0\0\4\0\0\0\0\0", 9);
    whole.send("PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n" + noSettings);
    EXPECT_EQ(silent.read(), "");
    EXPECT_TRUE(half.read().has_value());
    EXPECT_TRUE(whole.read().has_value());
}

TEST(ConnectionsWithTls, beyondItsDescriptorsDoNotMakeItDeaf) {
    obvista_test::Folder folder;
    const Certificate certificate = makeCertificate(folder, "robot", "IP:127.0.0.1");
    RobotProcess robot({{"--tls-certificate", certificate.fFile, "--tls-key", certificate.fKey}});
    const rlimit limit{a_fewDescriptors, a_fewDescriptors};
    ASSERT_EQ(::prlimit(robot.process().pid(), RLIMIT_NOFILE, &limit, nullptr), 0);
    Clients idle;
    for (int n = 0; n < a_connections; ++n) {
        idle.push_back(std::make_unique<TcpClient>(robot.port()));
        idle.back()->send("\x16\x03\x01");  // the beginning of a handshake
    }
    EXPECT_TRUE(robot.process().waitForErrors(a_exhaustion));
    KVSettings trusting;
    trusting.fAccess.fUsesTls = true;
    trusting.fAccess.fTrust = certificate.fFile;
    const auto broker = KVBroker::createBroker("test", "", 0, "", 0, 0, "", false, trusting);
    KVProxy memory("KVMemory", RobotProcess::address(), robot.port(), broker, a_timeOut, 0);
    EXPECT_EQ(memory.call<int>("getData", "Robot/Joints"), 25);
}

}  // namespace
