// TLS and the token of the program, as its command line asks for them.
#include "../robaxi/certificates.h"
#include "robot_process.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_settings.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

using obvista_test::ChildProcess;
using obvista_test::RobotProcess;
using robaxi_test::Certificate;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

class SecurityTest : public testing::Test {
  protected:
    /** Why a program with these settings cannot read a value; nothing when it can. */
    static std::optional<KVError::Cause> causeOf(const KVSettings& settings,
                                                 const RobotProcess& robot) {
        const auto broker = KVBroker::createBroker("test", "", 0, "", 0, 0, "", false, settings);
        try {
            KVProxy memory("KVMemory", RobotProcess::address(), robot.port(), broker, 20, 0);
            EXPECT_EQ(memory.call<int>("getData", "Robot/Joints"), 25);
        } catch (const KVError& error) {
            return error.cause();
        }
        return std::nullopt;
    }

    robaxi_test::Folder fFolder;
    Certificate fCertificate = makeCertificate(fFolder, "robot", "IP:127.0.0.1");
    std::string fTokenFile = fFolder.write("token", "a-long-enough-token-of-a-robot\n");
};

TEST_F(SecurityTest, withACertificateItSpeaksTlsAndNothingElse) {
    RobotProcess robot({{"--tls-certificate", fCertificate.fFile, "--tls-key", fCertificate.fKey}});
    KVSettings trusting;
    trusting.fAccess.fUsesTls = true;
    trusting.fAccess.fTrust = fCertificate.fFile;
    EXPECT_EQ(causeOf(trusting, robot), std::nullopt);
    EXPECT_EQ(causeOf({}, robot), KVError::Cause::NotAuthorised);
}

TEST_F(SecurityTest, withATokenFileItAsksForTheToken) {
    RobotProcess robot({{"--token-file", fTokenFile, "--allow-plain-token"}});
    KVSettings knowing;
    knowing.fAccess.fTokenFile = fTokenFile;
    knowing.fAccess.fAllowsPlainToken = true;
    EXPECT_EQ(causeOf(knowing, robot), std::nullopt);
    EXPECT_EQ(causeOf({}, robot), KVError::Cause::NotAuthorised);
    knowing.fAccess.fTokenFile = fFolder.write("wrong", "another-token-of-the-same-kind\n");
    EXPECT_EQ(causeOf(knowing, robot), KVError::Cause::NotAuthorised);
}

TEST_F(SecurityTest, filesThatCannotBeUsedEndItWithStatusOneAndAreNamed) {
    const std::string missing = fFolder.path("missing.pem");
    ChildProcess robot({RobotProcess::program(), "--no-announce", "--http-port", "0", "--port",
                        std::to_string(obvista_test::freePort()), "--tls-certificate", missing,
                        "--tls-key", fCertificate.fKey});
    EXPECT_EQ(robot.waitForEnd(), 1);
    EXPECT_THAT(robot.errors(), StartsWith("robaxi-robot: "));
    EXPECT_THAT(robot.errors(), HasSubstr(missing));
    EXPECT_EQ(robot.output(), "");
}

}  // namespace
