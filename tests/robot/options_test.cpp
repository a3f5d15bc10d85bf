#include "options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

using robot::Kind;
using robot::Options;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

class OptionsTest : public testing::Test {
  protected:
    Options parsed(const std::vector<std::string>& arguments) {
        const robot::ParsedOptions result = robot::parseOptions(arguments, fOutput, fErrors);
        EXPECT_TRUE(result.fOptions) << fErrors.str();
        return result.fOptions.value_or(Options());
    }

    /** Returns the message for an invalid command line. */
    std::string mistake(const std::vector<std::string>& arguments) {
        fErrors.str("");
        const robot::ParsedOptions result = robot::parseOptions(arguments, fOutput, fErrors);
        EXPECT_FALSE(result.fOptions);
        EXPECT_EQ(result.fExitStatus, 2);
        EXPECT_EQ(fOutput.str(), "");
        EXPECT_THAT(fErrors.str(), HasSubstr("\nTry 'robaxi-robot --help'.\n"));
        return fErrors.str();
    }

    std::ostringstream fOutput;
    std::ostringstream fErrors;
};

TEST_F(OptionsTest, withoutAnyItIsARobotThatOnlyThisMachineCanReach) {
    const Options options = parsed({});
    EXPECT_EQ(options.fKind, Kind::Robot);
    EXPECT_EQ(options.fAddress, "127.0.0.1");
    EXPECT_EQ(options.fPort, 9559);
    EXPECT_EQ(options.fSeed, 1U);
    EXPECT_EQ(options.fHttpPort, 80);
    EXPECT_TRUE(options.fMiddleware);
    EXPECT_TRUE(options.fAnnounce);
    EXPECT_EQ(options.fIcon, "");
    EXPECT_EQ(options.fSimPort, 0);
    EXPECT_EQ(options.fLoad.fKeys, 0);
    EXPECT_FALSE(options.fHostile);
    EXPECT_FALSE(options.fName.empty());
}

TEST_F(OptionsTest, takesAllThatIsGiven) {
    const Options options =
        parsed({"--kind", "computer", "--name", "Rob \xc3\xa9", "--address=::", "--port", "65535",
                "--seed", "18446744073709551615", "--no-middleware", "--http-port", "0", "--icon",
                "a.png", "--no-announce", "--sim-port", "7"});
    EXPECT_EQ(options.fKind, Kind::Computer);
    EXPECT_EQ(options.fName, "Rob \xc3\xa9");
    EXPECT_EQ(options.fAddress, "::");
    EXPECT_EQ(options.fPort, 65535);
    EXPECT_EQ(options.fSeed, 18446744073709551615U);
    EXPECT_FALSE(options.fMiddleware);
    EXPECT_EQ(options.fHttpPort, 0);
    EXPECT_EQ(options.fIcon, "a.png");
    EXPECT_FALSE(options.fAnnounce);
    EXPECT_EQ(options.fSimPort, 7);
}

TEST_F(OptionsTest, takesALoadOfWhichATenthChangesUnlessToldOtherwise) {
    const Options load = parsed({"--keys", "10000", "--changing", "500", "--rate", "12.5"});
    EXPECT_EQ(load.fLoad.fKeys, 10000);
    EXPECT_EQ(load.fLoad.fChanging, 500);
    EXPECT_EQ(load.fLoad.fRate, 12.5);
    EXPECT_EQ(parsed({"--keys", "200"}).fLoad.fChanging, 20);
    EXPECT_EQ(parsed({"--keys", "200"}).fLoad.fRate, 50);
    EXPECT_TRUE(parsed({"--hostile"}).fHostile);
    EXPECT_TRUE(parsed({}).fVideo);
    EXPECT_FALSE(parsed({"--no-video"}).fVideo);
    EXPECT_FALSE(parsed({}).fStamp);
    EXPECT_TRUE(parsed({"--stamp"}).fStamp);
}

TEST_F(OptionsTest, takesFilesOfSecurityWhereverItRuns) {
    const Options options = parsed({"--tls-certificate", "/a/robot.pem", "--tls-key", "robot.key",
                                    "--token-file", "token", "--allow-plain-token"});
    EXPECT_EQ(options.fSecurity.fCertificate, "/a/robot.pem");
    EXPECT_EQ(options.fSecurity.fKey, std::filesystem::current_path() / "robot.key");
    EXPECT_EQ(options.fSecurity.fTokenFile, std::filesystem::current_path() / "token");
    EXPECT_TRUE(options.fSecurity.fAllowsPlainToken);
    EXPECT_EQ(parsed({}).fSecurity.fTokenFile, "");
    EXPECT_FALSE(parsed({}).fSecurity.fAllowsPlainToken);
}

TEST_F(OptionsTest, versionIsPrintedWithStatusZero) {
    const robot::ParsedOptions result = robot::parseOptions({"--version"}, fOutput, fErrors);
    EXPECT_FALSE(result.fOptions);
    EXPECT_EQ(result.fExitStatus, 0);
    EXPECT_EQ(fOutput.str(), "robaxi-robot 1.14\n");
    EXPECT_EQ(fErrors.str(), "");
}

TEST_F(OptionsTest, helpNamesEveryOptionAndEndsWithStatusZero) {
    const robot::ParsedOptions result = robot::parseOptions({"--help"}, fOutput, fErrors);
    EXPECT_FALSE(result.fOptions);
    EXPECT_EQ(result.fExitStatus, 0);
    EXPECT_EQ(fErrors.str(), "");
    EXPECT_THAT(fOutput.str(), StartsWith("Usage: robaxi-robot"));
    for (const char* option : {"--help",          "--kind",       "--name",
                               "--address",       "--port",       "--seed",
                               "--no-middleware", "--http-port",  "--icon",
                               "--no-announce",   "--sim-port",   "--keys",
                               "--changing",      "--rate",       "--hostile",
                               "--no-video",      "--stamp",      "--replay",
                               "--robot",         "--start",      "--speed",
                               "--loop",          "--paused",     "--tls-certificate",
                               "--tls-key",       "--token-file", "--allow-plain-token"}) {
        EXPECT_THAT(fOutput.str(), HasSubstr(option));
    }
}

TEST_F(OptionsTest, takesAReplayWithItsOwnOptionsOnly) {
    const Options options = parsed({"--replay", "walk.mcap", "--robot", "buddy", "--start", "1.5",
                                    "--speed", "50", "--loop", "--paused"});
    EXPECT_EQ(options.fReplay.fFile, "walk.mcap");
    EXPECT_EQ(options.fReplay.fRobot, "buddy");
    EXPECT_EQ(options.fReplay.fPlayer.fStart, 1.5);
    EXPECT_EQ(options.fReplay.fPlayer.fSpeed, 50);
    EXPECT_TRUE(options.fReplay.fPlayer.fLoop);
    EXPECT_TRUE(options.fReplay.fPlayer.fIsPaused);
    EXPECT_EQ(options.fName, "");
    EXPECT_EQ(parsed({"--replay", "walk.mcap", "--name", "other"}).fName, "other");
    EXPECT_FALSE(parsed({"--replay", "walk.mcap"}).fReplay.fPlayer.fIsPaused);

    EXPECT_THAT(mistake({"--paused"}), HasSubstr("--paused needs --replay and a file"));
    EXPECT_THAT(mistake({"--speed", "2"}), HasSubstr("--speed needs --replay"));
    EXPECT_THAT(mistake({"--replay", "a", "--speed", "51"}),
                HasSubstr("--speed must be from 0.1 to 50"));
    EXPECT_THAT(mistake({"--replay", "a", "--start", "-1"}),
                HasSubstr("--start must be from 0 to"));
    EXPECT_THAT(mistake({"--replay", "a", "--seed", "2"}),
                HasSubstr("--seed is for a simulated robot"));
    EXPECT_THAT(mistake({"--replay", "a", "--hostile"}), HasSubstr("--hostile is for"));
    EXPECT_THAT(mistake({"--replay", "a", "--sim-port", "7"}), HasSubstr("--sim-port is for"));
}

TEST_F(OptionsTest, mistakesAreNamed) {
    EXPECT_THAT(mistake({"--kind", "toaster"}), HasSubstr("not 'toaster'"));
    EXPECT_THAT(mistake({"--port", "0"}), HasSubstr("--port must be from 1 to 65535, not 0"));
    EXPECT_THAT(mistake({"--port", "65536"}), HasSubstr("not 65536"));
    EXPECT_THAT(mistake({"--port", "95x"}), HasSubstr("95x"));
    EXPECT_THAT(mistake({"--seed", "-1"}), HasSubstr("--seed"));
    EXPECT_THAT(mistake({"--seed", "18446744073709551616"}), HasSubstr("--seed"));
    EXPECT_THAT(mistake({"--name", ""}), HasSubstr("--name"));
    EXPECT_THAT(mistake({"--name", std::string(64, 'a')}), HasSubstr("1 to 63 bytes"));
    EXPECT_THAT(mistake({"--name", "a\nb"}), HasSubstr("control characters"));
    EXPECT_THAT(mistake({"--address", ""}), HasSubstr("--address"));
    EXPECT_THAT(mistake({"--address", "localhost"}), HasSubstr("not 'localhost'"));
    EXPECT_THAT(mistake({"--http-port", "-1"}), HasSubstr("--http-port must be from 0 to 65535"));
    EXPECT_THAT(mistake({"--sim-port", "65536"}), HasSubstr("--sim-port must be from 0 to 65535"));
    EXPECT_THAT(mistake({"--keys", "-1"}), HasSubstr("--keys must be from 0 to 1000000, not -1"));
    EXPECT_THAT(mistake({"--keys", "9", "--changing", "10"}),
                HasSubstr("--changing must be from 0 to 9"));
    EXPECT_THAT(mistake({"--rate", "0"}), HasSubstr("--rate must be from 0.1 to 1000, not 0"));
    EXPECT_THAT(mistake({"--rate", "nan"}), HasSubstr("--rate"));
    EXPECT_THAT(mistake({"--tls-key", "robot.key"}), HasSubstr("go together"));
    EXPECT_THAT(mistake({"--prot", "1"}), HasSubstr("--prot"));
    EXPECT_THAT(mistake({"stray"}), HasSubstr("positional"));
}

TEST_F(OptionsTest, aMistakeIsShownOnOneSafeLine) {
    EXPECT_THAT(mistake({"--kind", "a\n\x1b[2Jb"}), HasSubstr("'a\\n\\u001b[2Jb'"));
}

}  // namespace
