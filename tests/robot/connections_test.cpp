// Silent connections, more of them than the robot has descriptors for.
#include "certificates.h"
#include "child_process.h"
#include "robot_process.h"
#include "tcp_client.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_settings.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

using obvista_test::Certificate;
using obvista_test::ChildProcess;
using obvista_test::RobotProcess;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr int a_timeOut = 20;  // seconds; generous, since the machine may be busy
constexpr rlim_t a_fewDescriptors = 64;
constexpr int a_connections = 100;
const std::string a_exhaustion = "file descriptors of this program (ulimit -n)";

const std::string a_beginningOfHandshake = "\x16\x03\x01";

/**
 * Five times the two seconds after which it serves again, since the machine may be busy. A robot
 * that is deaf remains so.
 */
constexpr std::chrono::seconds a_serviceAgain(10);
/**
 * For connections that are closed after 5 s, or after 20 s with a sanitizer, where the robot allows
 * its clients to be slow (ROBAXI_LOSS). A robot that does not close them keeps them for good.
 */
constexpr std::chrono::seconds a_closing(60);

using Clock = std::chrono::steady_clock;
using Clients = std::vector<std::unique_ptr<TcpClient>>;

void allowFewDescriptors(RobotProcess& robot) {
    const rlimit limit{a_fewDescriptors, a_fewDescriptors};
    EXPECT_EQ(::prlimit(robot.process().pid(), RLIMIT_NOFILE, &limit, nullptr), 0);
}

Clients connectIdle(int port, const std::string& first = {}) {
    Clients clients;
    for (int n = 0; n < a_connections; ++n) {
        clients.push_back(std::make_unique<TcpClient>(port));
        clients.back()->send(first);
    }
    return clients;
}

class ConnectionsTest : public testing::Test {
  protected:
    ConnectionsTest() { allowFewDescriptors(fRobot); }

    static int readValue(int port) {
        const auto broker = KVBroker::createBroker({"test"});
        KVProxy memory("KVMemory", RobotProcess::address(), port, broker, a_timeOut, 0);
        return memory.call<int>("getData", "Robot/Joints");
    }

    void expectService() {
        EXPECT_EQ(readValue(fRobot.port()), 25);
        EXPECT_EQ(httpGet(fRobot.httpPort(), "/page.css").fStatus, 200);
    }

    /** Call right after the connections have ended. */
    void expectServiceAgain() {
        const auto end = Clock::now();
        expectService();
        EXPECT_LT(Clock::now() - end, a_serviceAgain);
    }

    RobotProcess fRobot{{{}, true}};
};

TEST_F(ConnectionsTest, beyondItsDescriptorsDoNotMakeItDeaf) {
    Clients idle = connectIdle(fRobot.port());
    EXPECT_TRUE(fRobot.process().waitForErrors(a_exhaustion));
    expectService();
    idle.clear();
    expectServiceAgain();
}

TEST_F(ConnectionsTest, thatBeginToSpeakDoNotMakeItDeaf) {
    Clients idle = connectIdle(fRobot.port(), "PRI * HTTP/2.0\r\n");
    EXPECT_TRUE(fRobot.process().waitForErrors(a_exhaustion));
    expectService();
    idle.clear();
    expectServiceAgain();
}

TEST_F(ConnectionsTest, ofItsWebServerDoNotMakeItDeaf) {
    Clients idle = connectIdle(fRobot.httpPort());
    EXPECT_TRUE(fRobot.process().waitForErrors("HTTP: nearly all of the 64 " + a_exhaustion));
    expectService();
    idle.clear();
    expectServiceAgain();
}

TEST_F(ConnectionsTest, leaveDescriptorsToThoseWhoAreServed) {
    const auto broker = KVBroker::createBroker({"test"});
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

// On the web server: that send no whole request.
TEST_F(ConnectionsTest, thatNeverSayHelloAreClosed) {
    const auto broker = KVBroker::createBroker({"test"});
    const auto served =
        KVConnection::open(broker, RobotProcess::address(), fRobot.port(), a_timeOut);
    TcpClient silent(fRobot.port());
    TcpClient half(fRobot.port());
    half.send("PRI * HTTP/2.0\r\n");
    TcpClient whole(fRobot.port());
    const std::string noSettings("\0\0\0\4\0\0\0\0\0", 9);
    whole.send("PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n" + noSettings);
    TcpClient silentOnTheWeb(fRobot.httpPort());
    TcpClient halfOnTheWeb(fRobot.httpPort());
    halfOnTheWeb.send("GET / HT");
    EXPECT_EQ(silent.read(std::string::npos, a_closing), "");
    EXPECT_TRUE(half.read(std::string::npos, a_closing).has_value());
    EXPECT_TRUE(whole.read(std::string::npos, a_closing).has_value());
    EXPECT_TRUE(silentOnTheWeb.read(std::string::npos, a_closing).has_value());
    EXPECT_TRUE(halfOnTheWeb.read(std::string::npos, a_closing).has_value());
    EXPECT_FALSE(served->getModules(a_timeOut).empty()) << "its client has said hello";
    EXPECT_THAT(fRobot.process().errors(), Not(HasSubstr(a_exhaustion))) << "there was room";
}

class TlsConnectionsTest : public testing::Test {
  protected:
    int readValue() const {
        KVSettings trusting;
        trusting.fAccess.fUsesTls = true;
        trusting.fAccess.fTrust = fCertificate.fFile;
        const auto broker = KVBroker::createBroker({"test", "", 0, trusting});
        KVProxy memory("KVMemory", RobotProcess::address(), fRobot.port(), broker, a_timeOut, 0);
        return memory.call<int>("getData", "Robot/Joints");
    }

    obvista_test::Folder fFolder;
    const Certificate fCertificate = makeCertificate(fFolder, "robot", "IP:127.0.0.1");
    RobotProcess fRobot{
        {{"--tls-certificate", fCertificate.fFile, "--tls-key", fCertificate.fKey}}};
};

TEST_F(TlsConnectionsTest, beyondItsDescriptorsDoNotMakeItDeaf) {
    allowFewDescriptors(fRobot);
    Clients idle = connectIdle(fRobot.port(), a_beginningOfHandshake);
    EXPECT_TRUE(fRobot.process().waitForErrors(a_exhaustion));
    EXPECT_EQ(readValue(), 25);
    const auto end = Clock::now();
    idle.clear();
    EXPECT_EQ(readValue(), 25);
    EXPECT_LT(Clock::now() - end, a_serviceAgain);
}

TEST_F(TlsConnectionsTest, thatNeverSayHelloAreClosed) {
    if (std::getenv("ROBAXI_LOSS") != nullptr) {
        GTEST_SKIP() << "it would take 20 s, as the test without TLS does";
    }
    TcpClient silent(fRobot.port());
    TcpClient half(fRobot.port());
    half.send(a_beginningOfHandshake);
    // Completes the handshake and stays until the robot closes the connection.
    ChildProcess whole({"openssl", "s_client", "-brief", "-ign_eof", "-alpn", "h2", "-connect",
                        RobotProcess::address() + (":" + std::to_string(fRobot.port()))});
    EXPECT_TRUE(whole.waitForErrors("CONNECTION ESTABLISHED")) << whole.errors();
    EXPECT_EQ(silent.read(std::string::npos, a_closing), "");
    EXPECT_TRUE(half.read(std::string::npos, a_closing).has_value());
    EXPECT_TRUE(whole.waitForEnd(a_closing).has_value());
    EXPECT_EQ(readValue(), 25);
}

}  // namespace
