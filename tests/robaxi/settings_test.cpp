#include "certificates.h"
#include "test_broker.h"

#include <robaxi/kv_settings.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

using namespace obvista_test;
using namespace robaxi_test;

namespace {

/** Sets an environment variable while it exists. */
class Variable {
  public:
    Variable(const std::string& name, const std::string& value) : fName(name) {
        ::setenv(fName.c_str(), value.c_str(), 1);
    }
    ~Variable() { ::unsetenv(fName.c_str()); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

  private:
    const std::string fName;
};

class Settings : public testing::Test {
  protected:
    KVSettings load(const std::string& content) {
        return KVSettings::load(fFolder.write("robaxi.conf", content));
    }

    std::string errorIn(const std::string& content) {
        const KVError error = errorOf([&] { load(content); });
        EXPECT_CAUSE(error, InvalidArgument);
        const std::string file = "The configuration file " + fFolder.path("robaxi.conf");
        EXPECT_EQ(error.toString().substr(0, file.size()), file);
        return error.toString().substr(file.size());
    }

    Folder fFolder;
};

}  // namespace

TEST_F(Settings, LeaveSecurityOffByDefault) {
    const Variable home("XDG_CONFIG_HOME", fFolder.path("empty"));
    const KVSettings settings = KVSettings::load();
    EXPECT_EQ(settings.fServer.fCertificate, "");
    EXPECT_EQ(settings.fServer.fTokenFile, "");
    EXPECT_FALSE(settings.accessTo("192.168.1.20", 9559).fUsesTls);
    EXPECT_EQ(settings.fLimits.fMessage, std::size_t{16} << 20U);
    EXPECT_EQ(settings.fLimits.fHeartbeat, std::chrono::milliseconds(250));
    EXPECT_EQ(settings.fLimits.fLoss, std::chrono::milliseconds(1500));
    EXPECT_EQ(settings.fLimits.fSilence, std::chrono::seconds(10));
}

TEST_F(Settings, AreReadFromTheUsersFolder) {
    const Variable home("XDG_CONFIG_HOME", fFolder.path("config"));
    fFolder.write("config/Quorvane Robotics/robaxi.conf", "[limits]\ndepth = 7\n");
    EXPECT_EQ(KVSettings::load().fLimits.fDepth, 7);
    const Variable file("ROBAXI_CONFIG", fFolder.write("other.conf", "[limits]\ndepth = 8\n"));
    EXPECT_EQ(KVSettings::load().fLimits.fDepth, 8);
}

TEST_F(Settings, OfTheServerAreRead) {
    const Variable home("HOME", "/home/somebody");
    const KVSettings settings = load(
        "; who we are\n[server]\ncertificate = robot.pem\nkey = /etc/robot-key.pem\n"
        "token = ~/token\nplain-token = yes\n");
    EXPECT_EQ(settings.fServer.fCertificate, fFolder.path("robot.pem"));
    EXPECT_EQ(settings.fServer.fKey, "/etc/robot-key.pem");
    EXPECT_EQ(settings.fServer.fTokenFile, "/home/somebody/token");
    EXPECT_TRUE(settings.fServer.fAllowsPlainToken);
}

TEST_F(Settings, OfARobotAreThoseOfAllWithItsOwn) {
    const KVSettings settings = load(
        "[robot:127.0.0.1]\ntls = no\n[robot:marvin.local:9560]\nname = marvin\n"
        "[robots]\ntrust = /ca.pem\ntoken = /token\n");
    EXPECT_TRUE(settings.accessTo("192.168.1.20", 9559).fUsesTls);
    EXPECT_EQ(settings.accessTo("192.168.1.20", 9559).fTrust, "/ca.pem");
    EXPECT_FALSE(settings.accessTo("127.0.0.1", 9559).fUsesTls);
    EXPECT_EQ(settings.accessTo("127.0.0.1", 9559).fTokenFile, "/token");
    EXPECT_EQ(settings.accessTo("marvin.local", 9560).fName, "marvin");
    EXPECT_TRUE(settings.accessTo("marvin.local", 9560).fUsesTls);
    EXPECT_EQ(settings.accessTo("marvin.local", 9559).fName, "");
}

TEST_F(Settings, OfARobotAtAnIpv6AddressAreFound) {
    KVSettings settings = load("[robot:::1]\nname = one\n[robot:fe80::2:9560]\nname = two\n");
    settings.fRobots["[fe80::3]:9559"].fName = "three";
    EXPECT_EQ(settings.accessTo("::1", 9559).fName, "one");
    EXPECT_EQ(settings.accessTo("fe80::2", 9560).fName, "two");
    EXPECT_EQ(settings.accessTo("fe80::3", 9559).fName, "three");
    EXPECT_EQ(settings.accessTo("fe80::3", 9560).fName, "");
}

TEST_F(Settings, OfTheEnvironmentOutweighTheFile) {
    const Variable file("ROBAXI_CONFIG", fFolder.write("robaxi.conf",
                                                       "[robots]\ntrust = /file.pem\n"
                                                       "[robot:a]\ntrust = /a.pem\n"
                                                       "[limits]\ndepth = 7\nkeys = 5\n"));
    const Variable trust("ROBAXI_TRUST", "/environment.pem");
    const Variable depth("ROBAXI_LIMIT_DEPTH", "9");
    const KVSettings settings = KVSettings::load();
    EXPECT_EQ(settings.fAccess.fTrust, "/environment.pem");
    EXPECT_EQ(settings.accessTo("a", 1).fTrust, "/environment.pem");
    EXPECT_EQ(settings.fLimits.fDepth, 9);
    EXPECT_EQ(settings.fLimits.fKeys, 5U);
}

TEST_F(Settings, ThatAreMalformedAreToldWithFileAndLine) {
    EXPECT_EQ(errorIn("[limits]\ndepth\n"), ", line 2: '=' character not found in line.");
    EXPECT_EQ(errorIn("[limits\n"), ", line 1: unmatched '['.");
    EXPECT_EQ(errorIn("[limits]\n\ndepth = deep\n"),
              ", line 3: depth is a number from 1 to 64, not \"deep\".");
    EXPECT_EQ(errorIn("[limits]\nkeys = 5\ndepth = 65\n"),
              ", line 3: depth is a number from 1 to 64, not \"65\".");
    EXPECT_EQ(errorIn("[limits]\nkeys = -1\n"),
              ", line 2: keys is a number from 1 to 1000000000, not \"-1\".");
    EXPECT_EQ(errorIn("[robots]\ntls = maybe\n"), ", line 2: tls is yes or no, not \"maybe\".");
    EXPECT_EQ(errorIn("[robots]\n# TLS\nttls = yes\n"),
              ", line 3: there is no setting ttls in a section robots.");
    EXPECT_EQ(errorIn("[limits]\ndepth = 5\n[sever]\nkey = /k\n"),
              ", line 3: there is no section named sever.");
    EXPECT_EQ(errorIn("# nothing\ncertificate = /c\n"),
              ", line 2: certificate is outside any section.");
    EXPECT_EQ(errorIn("[robots]\ntls = no\ntls = yes\n"), ", line 3: duplicate key name.");
}

TEST_F(Settings, OfAFileThatCannotBeReadAreAnError) {
    const KVError error = errorOf([&] { KVSettings::load(fFolder.path("absent.conf")); });
    EXPECT_CAUSE(error, InvalidArgument);
    EXPECT_CAUSE(errorOf([] { KVSettings::load(""); }), InvalidArgument);
    const Variable file("ROBAXI_CONFIG", fFolder.path("absent.conf"));
    EXPECT_CAUSE(errorOf([] {
                     makeServer();
                     KVBroker::createBroker({"b"});
                 }),
                 InvalidArgument);
}

TEST_F(Settings, OfAWrongVariableNameIt) {
    const Variable depth("ROBAXI_LIMIT_DEPTH", "0");
    EXPECT_EQ(errorOf([] { KVSettings::load(); }).toString(),
              "The environment variable ROBAXI_LIMIT_DEPTH is a number from 1 to 64, not \"0\".");
}

TEST_F(Settings, MadeByAProgramAreCheckedByTheBroker) {
    KVSettings settings;
    settings.fLimits.fDepth = 65;
    EXPECT_CAUSE(errorOf([&] { makeClient(settings); }), InvalidArgument);
    settings = KVSettings();
    settings.fLimits.fLoss = std::chrono::milliseconds(300);
    EXPECT_CAUSE(errorOf([&] { makeClient(settings); }), InvalidArgument);
    settings = KVSettings();
    settings.fAccess.fUsesTls = true;
    EXPECT_EQ(errorOf([&] { makeClient(settings); }).toString(),
              "The settings cannot be used: TLS for robots needs a certificate to trust.");
}
