// TLS and the token of the program, set by its command line.
#include "certificates.h"
#include "robot_process.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_settings.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <optional>

using obvista_test::Certificate;
using obvista_test::ChildProcess;
using obvista_test::RobotProcess;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class SecurityTest : public testing::Test {
  protected:
    /**
     * Returns the error of a program with these settings that reads a value; nothing if it
     * succeeds.
     */
    static std::optional<KVError::Cause> causeOf(const KVSettings& settings,
                                                 const RobotProcess& robot) {
        const auto broker = KVBroker::createBroker({"test", "", 0, settings});
        try {
            KVProxy memory("KVMemory", RobotProcess::address(), robot.port(), broker, 20, 0);
            EXPECT_EQ(memory.call<int>("getData", "Robot/Joints"), 25);
        } catch (const KVError& error) {
            return error.cause();
        }
        return std::nullopt;
    }

    obvista_test::Folder fFolder;
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

TEST_F(SecurityTest, wrongTokensAreLoggedWithoutThemAndSlowed) {
    RobotProcess robot({{"--token-file", fTokenFile, "--allow-plain-token"}});
    KVSettings knowing;
    knowing.fAccess.fTokenFile = fTokenFile;
    knowing.fAccess.fAllowsPlainToken = true;
    KVSettings guessing = knowing;
    guessing.fAccess.fTokenFile = fFolder.write("wrong", "another-token-of-the-same-kind\n");
    const auto secondsOf = [&](const KVSettings& settings, std::optional<KVError::Cause> cause) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(causeOf(settings, robot), cause);
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    for (int n = 0; n < 5; ++n) {
        secondsOf(guessing, KVError::Cause::NotAuthorised);
    }
    EXPECT_GE(secondsOf(guessing, KVError::Cause::NotAuthorised), 1);
    EXPECT_GE(secondsOf(knowing, std::nullopt), 1) << "a quick answer would give it away";
    double quickest = 1;
    for (int n = 0; n < 5; ++n) {
        quickest = std::min(quickest, secondsOf(knowing, std::nullopt));
    }
    EXPECT_LT(quickest, 1);
    EXPECT_TRUE(robot.process().waitForErrors("refused a wrong token from 127.0.0.1\n"));
    EXPECT_TRUE(robot.process().waitForErrors(
        "refused a wrong token from 127.0.0.1, number 6 in a row; tokens from there are looked at "
        "one a second\n"));
    EXPECT_THAT(robot.process().errors(), Not(HasSubstr("another-token")));
}

TEST_F(SecurityTest, anExpiredCertificateIsReported) {
    const std::string expired = fFolder.path("expired.pem");
    const std::string command = "openssl x509 -in " + fCertificate.fFile + " -signkey " +
                                fCertificate.fKey + " -days -1 -out " + expired + " 2>/dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0);  // NOLINT(cert-env33-c): the test's own texts
    RobotProcess robot({{"--tls-certificate", expired, "--tls-key", fCertificate.fKey}});
    EXPECT_TRUE(robot.process().waitForErrors("the certificate " + expired + " has expired"));
    RobotProcess valid({{"--tls-certificate", fCertificate.fFile, "--tls-key", fCertificate.fKey}});
    EXPECT_EQ(valid.process().errors(), "");
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
