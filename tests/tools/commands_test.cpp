// The commands with a robot in another process.
#include "lesser_robot_process.h"
#include "loopback_broker.h"
#include "project_files.h"
#include "robot_process.h"
#include "silent_server.h"
#include "tool_process.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_module.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <future>
#include <memory>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

namespace obvista_test {
namespace {

using Json = nlohmann::json;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

class Commands : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { fRobot = std::make_unique<RobotProcess>(); }
    static void TearDownTestSuite() { fRobot.reset(); }

    static std::string placeOf(const RobotProcess& robot) {
        return std::string(RobotProcess::address()) + ':' + std::to_string(robot.port());
    }

    /** Runs a command on the robot that the tests share. */
    static ToolResult run(const std::string& command, const std::vector<std::string>& words = {}) {
        std::vector<std::string> arguments{command, placeOf(*fRobot)};
        arguments.insert(arguments.end(), words.begin(), words.end());
        return runTool(arguments);
    }

    /** Runs a command that must succeed, and returns its output. */
    static std::string outputOf(const std::string& command,
                                const std::vector<std::string>& words = {}) {
        const ToolResult result = run(command, words);
        EXPECT_EQ(0, result.fStatus) << result.fErrors;
        EXPECT_THAT(result.fErrors, IsEmpty());
        return result.fOutput;
    }

    static std::vector<std::string> linesOf(const std::string& text) {
        std::istringstream stream(text);
        std::vector<std::string> lines;
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    static void expectFailure(int status, const std::string& sentence, const ToolResult& result) {
        EXPECT_EQ(status, result.fStatus);
        EXPECT_THAT(result.fErrors, AllOf(StartsWith("robaxi: "), HasSubstr(sentence)));
        EXPECT_EQ(1, std::count(result.fErrors.begin(), result.fErrors.end(), '\n'))
            << result.fErrors;
        EXPECT_THAT(result.fOutput, IsEmpty());
    }

    static std::unique_ptr<RobotProcess> fRobot;
};

std::unique_ptr<RobotProcess> Commands::fRobot;

TEST_F(Commands, ModulesShowsWhatTheRobotCanDo) {
    const std::string output = outputOf("modules");
    EXPECT_THAT(output, HasSubstr("KVMemory: The robot's values. Its values can be watched.\n"));
    EXPECT_THAT(output, HasSubstr("KVLeds: The lights of the robot.\n  rasta(duration: float)\n"));
}

TEST_F(Commands, ModulesAreJsonLines) {
    std::map<std::string, Json> modules;
    for (const std::string& line : linesOf(outputOf("modules", {"--json"}))) {
        const Json module = Json::parse(line);
        modules[module["name"]] = module;
    }
    EXPECT_EQ(true, modules.at("KVMemory")["values"]);
    EXPECT_EQ(false, modules.at("KVLeds")["values"]);
    EXPECT_EQ(false, modules.at("KVLeds")["cameras"]);
    EXPECT_EQ("rasta", modules.at("KVLeds")["methods"][0]["name"]);
}

TEST_F(Commands, CallPassesArgumentsAndPrintsTheResult) {
    EXPECT_EQ("", outputOf("call", {"KVBallamor", "sendClipboard", "two words"}));
    EXPECT_EQ("two words\n", outputOf("call", {"KVMemory", "getData", "Ballamor/Clipboard"}));
    EXPECT_EQ("", outputOf("call", {"KVBallamor", "sendClipboard", "\"12\""}));
    EXPECT_EQ("\"12\"\n",
              outputOf("call", {"KVMemory", "getData", "Ballamor/Clipboard", "--json"}));
    EXPECT_THAT(outputOf("call", {"KVMemory", "getDataList", "Battery/Cha"}),
                "[\"Battery/Charge\",\"Battery/Charging\"]\n");
    EXPECT_EQ("null\n", outputOf("call", {"KVLeds", "rasta", "0.1", "--json"}));
}

TEST_F(Commands, WhatTheRobotKeepsCannotReachTheTerminal) {
    outputOf("call", {"KVBallamor", "sendClipboard", "\"a\\nb\\u001b[2J\""});
    EXPECT_EQ("a\\nb\\u001b[2J\n", outputOf("get", {"Ballamor/Clipboard"}));
    EXPECT_EQ("Ballamor/Clipboard a\\nb\\u001b[2J\n", outputOf("get", {"Ballamor/Clipboar?"}));
}

TEST_F(Commands, ASlowMethodMayBeGivenMoreTime) {
    std::promise<void> ended;
    const auto module = std::make_shared<KVModule>("Slow", "");
    module->bindMethod({"walk", "walk()", ""}, {},
                       [end = ended.get_future().share()](const KVValue::List&) {
                           end.wait();
                           return KVValue();
                       });
    const auto broker = createTestBroker("slow");
    broker->addModule(module);
    const std::string place = "127.0.0.1:" + std::to_string(broker->getPort());
    const ToolResult slow = runTool({"call", place, "Slow", "walk", "--timeout", "1"});
    ended.set_value();
    expectFailure(5, "within 1 s. The method may take longer than that", slow);
    EXPECT_THAT(slow.fErrors, HasSubstr("--timeout"));
    EXPECT_THAT(slow.fErrors, Not(HasSubstr("firewall")));
}

TEST_F(Commands, FailedCallsSayWhyAndHaveTheirStatus) {
    expectFailure(8, "no module named Nosuch", run("call", {"Nosuch", "method"}));
    expectFailure(8, "no method named nosuch", run("call", {"KVLeds", "nosuch"}));
    expectFailure(8, "of type float", run("call", {"KVLeds", "rasta", "x"}));
    expectFailure(9, "at most 60 seconds", run("call", {"KVLeds", "rasta", "-0.5"}));
    expectFailure(2, "is not a literal", run("call", {"KVLeds", "rasta", "[1"}));
}

TEST_F(Commands, AnAliasStandsForAHost) {
    EXPECT_EQ(0, runTool({"alias", "kitchen", placeOf(*fRobot)}).fStatus);
    EXPECT_EQ("kitchen " + placeOf(*fRobot) + '\n', runTool({"alias"}).fOutput);
    EXPECT_EQ("kitchen " + placeOf(*fRobot) + '\n', runTool({"alias", "kitchen"}).fOutput);
    EXPECT_EQ("1.14\n", runTool({"get", "kitchen", "Robaxi/Version"}).fOutput);
    EXPECT_EQ(0, runTool({"alias", "--remove", "kitchen"}).fStatus);
    EXPECT_EQ("", runTool({"alias"}).fOutput);
    expectFailure(3, "There is no alias 'kitchen'.", runTool({"alias", "kitchen"}));
    expectFailure(2, "--remove takes one NAME", runTool({"alias", "--remove"}));
    expectFailure(2, "'a:b' cannot be an alias", runTool({"alias", "a:b", "robot1"}));
    expectFailure(2, "a port is a number", runTool({"alias", "a", "robot1:x"}));
}

TEST_F(Commands, GetPrintsASingleValueAlone) {
    EXPECT_THAT(outputOf("get", {"Battery/Charge"}), MatchesRegex("[0-9.]+\n"));
    EXPECT_THAT(outputOf("get", {"Battery/Charging"}), MatchesRegex("(true|false)\n"));
}

TEST_F(Commands, NumbersHaveAPointInEveryLocale) {
    ChildProcess shell({"bash", "-c",
                        "localedef -i de_DE -f UTF-8 \"$TMPDIR/de_DE.UTF-8\" || exit 77\n"
                        "export LOCPATH=$TMPDIR LC_ALL=de_DE.UTF-8\n"
                        "/usr/bin/printf '%.1f\\n' 1,5\n"
                        "\"$1\" get \"$2\" Battery/Voltage\n"
                        "\"$1\" watch \"$2\" Battery/Voltage --csv --count 1 --rate 0.5\n"
                        "\"$1\" ping \"$2\" --count 1 --quiet\n"
                        "\"$1\" call \"$2\" KVLeds rasta 0.5 --json\n",
                        "bash", toolCommand({})[0], placeOf(*fRobot)});
    if (shell.waitForEnd() == 77) {
        GTEST_SKIP() << "no such locale can be made here: " << shell.errors();
    }
    const auto lines = linesOf(shell.output());
    ASSERT_EQ(6U, lines.size()) << shell.output() << shell.errors();
    EXPECT_EQ("1,5", lines[0]) << "the locale is another one";
    EXPECT_THAT(lines[1], MatchesRegex("[0-9]+\\.[0-9]+"));
    EXPECT_THAT(lines[3], MatchesRegex("[^,]+,Battery/Voltage,[0-9]+\\.[0-9]+,V"));
    EXPECT_THAT(lines[4], MatchesRegex("1 round trip in ms: min [0-9]+\\.[0-9]+, .*"));
    EXPECT_EQ("null", lines[5]);
}

TEST_F(Commands, GetPrintsSeveralValuesWithTheirKeys) {
    const auto lines = linesOf(outputOf("get", {"Battery/Charge", "Joint/*/Position"}));
    ASSERT_GT(lines.size(), 10U);
    EXPECT_THAT(lines[0], MatchesRegex("Battery/Charge [0-9.]+"));
    for (std::size_t i = 1; i < lines.size(); ++i) {
        EXPECT_THAT(lines[i], MatchesRegex("Joint/[A-Za-z]+/Position -?[0-9.]+(e-[0-9]+)?"));
    }
}

TEST_F(Commands, GetPrintsOneJsonObject) {
    const Json values = Json::parse(outputOf("get", {"--json", "Battery/Cha*"}));
    EXPECT_EQ(2U, values.size());
    EXPECT_TRUE(values["Battery/Charge"].is_number_float());
    EXPECT_TRUE(values["Battery/Charging"].is_boolean());
}

TEST_F(Commands, GetPrintsTimesAndUnitsIfWanted) {
    const auto lines = linesOf(outputOf("get", {"--long", "Battery/Voltage", "Robot/M*"}));
    ASSERT_GE(lines.size(), 2U);
    EXPECT_THAT(lines[0], MatchesRegex("20[0-9-]+T[0-9:.]+Z Battery/Voltage [0-9.]+ V"));
    EXPECT_THAT(lines[1], MatchesRegex("20[0-9-]+T[0-9:.]+Z Robot/M[a-z]+ .+"));
    const Json charge = Json::parse(outputOf("get", {"--long", "--json", "Battery/Charge"}));
    EXPECT_EQ("%", charge["unit"]);
    EXPECT_TRUE(charge["value"].is_number_float());
    expectFailure(8, "No key matches 'Nosuch', 'Other'.",
                  run("get", {"--long", "Nosuch", "Other"}));
}

TEST_F(Commands, KeysListsTypesAndUnits) {
    const auto lines = linesOf(outputOf("keys", {"Battery/*"}));
    EXPECT_THAT(lines, Contains(MatchesRegex("Battery/Voltage +float +V")));
    EXPECT_THAT(lines, Contains(MatchesRegex("Battery/Charging +bool")));
    EXPECT_GT(linesOf(outputOf("keys", {})).size(), 2 * lines.size());
    const Json volume = Json::parse(outputOf("keys", {"--json", "Audio/Volume"}));
    EXPECT_EQ("Audio/Volume", volume["key"]);
    EXPECT_EQ("int", volume["type"]);
    EXPECT_EQ(true, volume["writable"]);
    expectFailure(8, "No key matches 'Nosuch/*', 'Other'.", run("keys", {"Nosuch/*", "Other"}));
}

TEST_F(Commands, GetNamesTheKeyThatIsMissing) {
    expectFailure(8, "no key named Nosuch", run("get", {"Nosuch"}));
    expectFailure(8, "No key matches 'Nosuch/*'", run("get", {"Nosuch/*"}));
    for (const std::string missing : {"Nosuch", "Nosuch/*"}) {
        for (const std::vector<std::string>& keys :
             {std::vector<std::string>{missing, "Robot/Model"}, {"Robot/Model", missing}}) {
            const ToolResult partly = run("get", keys);
            EXPECT_EQ(8, partly.fStatus) << missing;
            EXPECT_EQ(0U, partly.fOutput.find("Robot/Model ")) << partly.fOutput;
            EXPECT_THAT(partly.fErrors, HasSubstr(missing));
        }
    }
    expectFailure(8, "no module named Other", run("get", {"--module", "Other", "Battery/Charge"}));
}

// A key may disappear between the list of keys and the request for its value.
TEST_F(Commands, GetLeavesOutAKeyOfAPatternThatIsGone) {
    const auto memory = std::make_shared<KVModule>("KVMemory", "Values that come and go.");
    memory->bindMethod({"getDataList", "", ""}, {KVValue::Type::String},
                       [](const KVValue::List& /*arguments*/) {
                           return KVValue::List{"a", "gone", "z"};
                       });
    memory->bindMethod({"getData", "", ""}, {KVValue::Type::String},
                       [](const KVValue::List& arguments) -> KVValue {
                           if (arguments[0].toString() == "gone") {
                               throw KVError(KVError::Cause::InvalidArgument, "It is gone.");
                           }
                           return 1;
                       });
    const auto broker = createTestBroker("forgetful");
    broker->addModule(memory);
    const std::string place = "127.0.0.1:" + std::to_string(broker->getPort());
    const ToolResult all = runTool({"get", place, "*"});
    EXPECT_EQ("a 1\nz 1\n", all.fOutput);
    EXPECT_EQ(0, all.fStatus);
    expectFailure(8, "It is gone.", runTool({"get", place, "gone"}));
}

TEST_F(Commands, SetWritesOrSaysWhyNot) {
    const std::string key = "Joint/HeadYaw/Stiffness";
    EXPECT_EQ("", outputOf("set", {key, "0.5"}));
    EXPECT_EQ("", outputOf("set", {key, "1"})) << "an int is taken for a float";
    expectFailure(9, "0 to 1", run("set", {key, "-0.5"}));
    EXPECT_EQ(8, run("set", {key, "soft"}).fStatus);
    EXPECT_NE(0, run("set", {"Battery/Charge", "100.0"}).fStatus) << "not a key to be written";
}

TEST_F(Commands, SetTakesAnyWordForAKeyThatHoldsAText) {
    for (const std::string word : {"12", "true", "[1, 2]", "-0.50", "bare"}) {
        EXPECT_EQ("", outputOf("set", {"Robot/Note", word}));
        EXPECT_EQ(word + "\n", outputOf("get", {"Robot/Note"}));
    }
    EXPECT_EQ("", outputOf("set", {"Robot/Note", R"("12")"}));
    EXPECT_EQ("12\n", outputOf("get", {"Robot/Note"}));
}

TEST_F(Commands, WatchPrintsThePresentValuesFirst) {
    const auto lines =
        linesOf(outputOf("watch", {"Battery/Charge", "Battery/Charging", "--count", "2"}));
    ASSERT_EQ(2U, lines.size());
    const std::string time = "....-..-..T..:..:..\\.......Z ";
    std::string text = lines[0] + '\n' + lines[1];
    EXPECT_THAT(text, AllOf(HasSubstr(" Battery/Charge "), HasSubstr(" Battery/Charging ")));
    EXPECT_TRUE(std::regex_search(text, std::regex(time + "Battery/Charge [0-9.]+ %"))) << text;
}

TEST_F(Commands, WatchFollowsChanges) {
    const auto lines = linesOf(
        outputOf("watch", {"Joint/HeadYaw/Position", "--rate", "100", "--count", "5", "--json"}));
    ASSERT_EQ(5U, lines.size());
    std::string before;
    for (const std::string& line : lines) {
        const Json change = Json::parse(line);
        EXPECT_EQ("Joint/HeadYaw/Position", change["key"]);
        EXPECT_EQ("rad", change["unit"]);
        EXPECT_LT(before, change["time"]);
        before = change["time"];
    }
}

TEST_F(Commands, WatchEndsAfterItsDuration) {
    const auto start = std::chrono::steady_clock::now();
    const auto lines = linesOf(outputOf("watch", {"--duration", "0.5", "Battery/Voltage"}));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
    EXPECT_FALSE(lines.empty());
}

TEST_F(Commands, WatchWritesCsvBelowAHeading) {
    const auto lines = linesOf(outputOf("watch", {"Battery/Charge", "--csv", "--count", "1"}));
    ASSERT_EQ(2U, lines.size());
    EXPECT_EQ("time,key,value,unit", lines[0]);
    EXPECT_THAT(lines[1], MatchesRegex("[0-9-]+T[0-9:.]+Z,Battery/Charge,[0-9.]+,%"));
    expectFailure(2, "exclude each other", run("watch", {"a", "--csv", "--json"}));
}

TEST_F(Commands, WatchWritesAColumnForEachKey) {
    const auto lines =
        linesOf(outputOf("watch", {"Battery/Voltage", "Battery/Cha*", "--wide", "--count", "3"}));
    ASSERT_EQ(4U, lines.size());
    EXPECT_EQ("time,Battery/Voltage,Battery/Charge,Battery/Charging", lines[0]);
    for (std::size_t line = 1; line < lines.size(); ++line) {
        EXPECT_THAT(lines[line], MatchesRegex("20[0-9-]+T[0-9:.]+Z,[0-9.]+,[0-9.]+,(true|false)"));
    }
    expectFailure(2, "--wide exclude each other", run("watch", {"a", "--wide", "--json"}));
    expectFailure(8, "No key matches 'Nosuch'",
                  run("watch", {"Nosuch", "--wide", "--timeout", "1"}));
}

TEST_F(Commands, WatchSaysWhichKeysAreMissing) {
    expectFailure(8, "No key matches 'Nosuch/*'", run("watch", {"Nosuch/*", "--timeout", "1"}));
    ChildProcess watch(
        toolCommand({"watch", placeOf(*fRobot), "Nosuch", "Battery/Charge", "--timeout", "1"}));
    EXPECT_TRUE(watch.waitForErrors("No key matches 'Nosuch'. Waiting for one to appear."));
    EXPECT_TRUE(watch.waitForOutput(" Battery/Charge "));
}

TEST_F(Commands, WatchEndsWhenItsReaderGoesAway) {
    ChildProcess shell({"bash", "-c", "\"$@\" | head -1; echo \"${PIPESTATUS[0]}\"", "bash",
                        toolCommand({})[0], "watch", placeOf(*fRobot), "*", "--rate", "100"});
    EXPECT_EQ(0, shell.waitForEnd());
    EXPECT_EQ("141", linesOf(shell.output()).back());
    EXPECT_THAT(shell.errors(), IsEmpty());
}

TEST_F(Commands, ResultsThatCannotBeWrittenAreNotLostSilently) {
    ChildProcess shell({"bash", "-c", "\"$@\" >/dev/full", "bash", toolCommand({})[0], "get",
                        placeOf(*fRobot), "Battery/Charge"});
    EXPECT_EQ(12, shell.waitForEnd());
    EXPECT_THAT(shell.errors(), HasSubstr("The results cannot be written: No space left"));
}

// Otherwise a connection gets the number of standard output, and results are sent to the robot.
TEST_F(Commands, AClosedStandardOutputStaysClosed) {
    ChildProcess shell({"bash", "-c", "\"$@\" >&- <&-", "bash", toolCommand({})[0], "get",
                        placeOf(*fRobot), "Battery/Charge"});
    EXPECT_EQ(12, shell.waitForEnd());
    EXPECT_THAT(shell.errors(), HasSubstr("The results cannot be written: Bad file descriptor"));
}

TEST_F(Commands, ASlowReaderGetsEveryByteAlthoughThePipeDoesNotBlock) {
    ChildProcess shell({"python3", "-c",
                        "import os, subprocess, sys\n"
                        "reading, writing = os.pipe()\n"
                        "os.set_blocking(writing, False)\n"
                        "tool = subprocess.Popen(sys.argv[1:], stdout=writing)\n"
                        "os.close(writing)\n"
                        "lines = open(reading).read().splitlines()\n"
                        "print(len(lines), tool.wait())\n",
                        toolCommand({})[0], "watch", placeOf(*fRobot), "*", "--json", "--count",
                        "20000", "--rate", "1000"});
    EXPECT_EQ(0, shell.waitForEnd());
    EXPECT_EQ("20000 0\n", shell.output()) << shell.errors();
}

TEST_F(Commands, PingShowsEachRoundTripAndTheirStatistics) {
    const auto lines = linesOf(outputOf("ping", {"--count", "3", "--interval", "0.01"}));
    ASSERT_EQ(5U, lines.size());
    EXPECT_THAT(lines[0], StartsWith(placeOf(*fRobot) + " answers as "));
    EXPECT_THAT(lines[1], MatchesRegex("1: [0-9]+\\.[0-9][0-9][0-9] ms"));
    EXPECT_THAT(lines[4], MatchesRegex("3 round trips in ms: min [0-9.]+, mean [0-9.]+, median "
                                       "[0-9.]+, p99 [0-9.]+, max [0-9.]+"));
}

TEST_F(Commands, PingStatisticsAreOneJsonObject) {
    const Json statistics =
        Json::parse(outputOf("ping", {"--count", "20", "--interval", "0", "--json"}));
    EXPECT_EQ(20, statistics["count"]);
    EXPECT_LT(0, statistics["min_ms"].get<double>());
    EXPECT_LE(statistics["min_ms"], statistics["median_ms"]);
    EXPECT_LE(statistics["median_ms"], statistics["p99_ms"]);
    EXPECT_LE(statistics["p99_ms"], statistics["max_ms"]);
}

TEST_F(Commands, PingShowsItsStatisticsWhenTheRobotIsLost) {
    RobotProcess robot;
    ChildProcess ping(toolCommand({"ping", placeOf(robot), "--count", "100000"}));
    ASSERT_TRUE(ping.waitForOutput("2: "));
    robot.kill();
    EXPECT_EQ(10, ping.waitForEnd());
    EXPECT_THAT(ping.output(), HasSubstr(" round trips in ms: min "));
}

TEST_F(Commands, PingShowsItsStatisticsWhenItIsInterrupted) {
    ChildProcess ping(toolCommand({"ping", placeOf(*fRobot), "--count", "100000"}));
    ASSERT_TRUE(ping.waitForOutput("2: "));
    ping.signal(SIGINT);
    EXPECT_EQ(130, ping.waitForEnd());
    EXPECT_THAT(ping.output(), HasSubstr(" round trips in ms: min "));
}

TEST_F(Commands, EachSignalEndsAWatchWithItsStatus) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        ChildProcess watch(toolCommand({"watch", placeOf(*fRobot), "*"}));
        ASSERT_TRUE(watch.waitForOutput("\n"));
        watch.signal(signal);
        EXPECT_EQ(128 + signal, watch.waitForEnd());
        EXPECT_THAT(watch.errors(), IsEmpty());
    }
}

TEST_F(Commands, WatchSaysThatARobotDoesNotAnswerAndGoesOn) {
    RobotProcess robot;
    const std::string place = placeOf(robot);
    ChildProcess watch(toolCommand({"watch", place, "*"}));
    ASSERT_TRUE(watch.waitForOutput("\n"));
    robot.suspend();
    ASSERT_TRUE(watch.waitForErrors("No answer from " + place + ". Waiting for it.\n"));
    const std::size_t before = watch.output().size();
    robot.resume();
    ASSERT_TRUE(watch.waitForErrors(place + " answers again.\n"));
    EXPECT_TRUE(watch.waitForMoreOutput(before));
    watch.signal(SIGINT);
    EXPECT_EQ(128 + SIGINT, watch.waitForEnd());
}

TEST_F(Commands, SignalsThatTheParentIgnoresStayIgnored) {
    ChildProcess watch({"bash", "-c", "trap '' INT; exec \"$@\"", "bash", toolCommand({})[0],
                        "watch", placeOf(*fRobot), "*"});
    ASSERT_TRUE(watch.waitForOutput("\n"));
    watch.signal(SIGINT);
    watch.signal(SIGTERM);
    EXPECT_EQ(143, watch.waitForEnd());
}

TEST_F(Commands, AnInterruptionEndsEvenWhatCannotBeCancelled) {
    const SilentServer server;
    ChildProcess get(toolCommand({"get", server.place(), "a", "--timeout", "3600"}));
    ASSERT_TRUE(server.waitForClient(ChildProcess::a_patience));
    get.signal(SIGINT);
    EXPECT_EQ(130, get.waitForEnd());
}

TEST_F(Commands, ARobotOfAnotherVersionIsReported) {
    const std::string place = "127.0.0.1:" + std::to_string(freePort());
    ChildProcess newer({builtFile("tests/newer_robot"), place});
    ASSERT_TRUE(newer.waitForOutput("listens on ")) << newer.errors();
    expectFailure(6, "version", runTool({"ping", place}));
}

TEST_F(Commands, ARobotThatOffersLessIsUsedAsFarAsPossible) {
    const LesserRobotProcess lesser;
    const std::string place = "127.0.0.1:" + std::to_string(lesser.port());

    // Values without methods are read by subscription.
    const ToolResult one = runTool({"get", place, "Joint/1"});
    EXPECT_EQ("1.5\n", one.fOutput) << one.fErrors;
    const ToolResult all = runTool({"get", place, "Joint/*", "Robot/Name"});
    EXPECT_EQ("Joint/0 0.5\nJoint/1 1.5\nJoint/2 2.5\nRobot/Name lesser\n", all.fOutput);
    EXPECT_EQ(0, all.fStatus);
    EXPECT_THAT(all.fErrors, IsEmpty());
    expectFailure(8, "no key named Nosuch", runTool({"get", place, "Nosuch"}));
    expectFailure(8, "no method named setData", runTool({"set", place, "Joint/1", "0.25"}));

    // A module that has neither is said to lack the method, by name.
    EXPECT_EQ("a's value\n", runTool({"get", "--module", "KVCalls", place, "a"}).fOutput);
    expectFailure(8, "no method named getDataList",
                  runTool({"get", "--module", "KVCalls", place, "*"}));

    // A camera that is not listed is watched by its name.
    const ToolResult picture = runTool({"snapshot", place, "eye", "-o", "-", "--format", "pgm"});
    EXPECT_EQ("P5\n4 2\n255\n" + std::string(8, '\xc8'), picture.fOutput);
    EXPECT_EQ(0, picture.fStatus);
    expectFailure(8, "no method named getCameras", runTool({"snapshot", place, "--list"}));
    expectFailure(8, "give CAMERA", runTool({"snapshot", place}));
    expectFailure(8, "no camera of that name", runTool({"snapshot", place, "nose"}));
}

TEST_F(Commands, ALostRobotEndsTheWatch) {
    RobotProcess robot;
    ChildProcess watch(toolCommand({"watch", placeOf(robot), "*"}));
    ASSERT_TRUE(watch.waitForOutput("\n"));
    robot.kill();
    EXPECT_EQ(10, watch.waitForEnd());
    EXPECT_THAT(watch.errors(), AllOf(StartsWith("robaxi: "), HasSubstr("lost")));
}

TEST_F(Commands, AnUnreachableRobotIsNamedWithItsPort) {
    const int port = freePort();
    const std::string place = "127.0.0.1:" + std::to_string(port);
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"modules", place},
                                               {"call", place, "KVLeds", "rasta", "1"},
                                               {"get", place, "a"},
                                               {"set", place, "a", "1"},
                                               {"watch", place, "a"},
                                               {"ping", place}}) {
        expectFailure(4, "127.0.0.1 port " + std::to_string(port), runTool(arguments));
    }
}

TEST_F(Commands, ASilentRobotIsGivenUpInTime) {
    const SilentServer server;
    expectFailure(5, "no answer", runTool({"ping", server.place(), "--timeout", "1"}));
}

TEST_F(Commands, ThisComputerGoesByItsName) {
    const ToolResult result =
        runTool({"get", "localhost:" + std::to_string(fRobot->port()), "Battery/Charge"});
    EXPECT_EQ(0, result.fStatus) << result.fErrors;
}

TEST_F(Commands, AnIpv6AddressWithItsPortIsReached) {
    const std::string port = std::to_string(freePort());
    ChildProcess robot({RobotProcess::program(), "--name", "sixth", "--address", "::1", "--port",
                        port, "--http-port", "0", "--no-announce"});
    ASSERT_TRUE(robot.waitForOutput("listens on ")) << robot.errors();
    const ToolResult result = runTool({"ping", "[::1]:" + port, "--count", "1"});
    EXPECT_EQ(0, result.fStatus) << result.fErrors;
    EXPECT_THAT(result.fOutput, StartsWith("[::1]:" + port + " answers as sixth\n"));
    expectFailure(2, "an IPv6 address with a port is written [IPv6]:PORT",
                  runTool({"ping", "fe80::1:x"}));
}

TEST_F(Commands, AnUnknownNameIsReported) {
    expectFailure(3, "no robot or computer nobody.invalid",
                  runTool({"ping", "nobody.invalid", "--timeout", "2"}));
}

TEST_F(Commands, WrongUseIsToldWithTheCommandsHelp) {
    expectFailure(2, "there is no command 'nosuch'; try 'robaxi --help'", runTool({"nosuch"}));
    expectFailure(2, "there is no command 'lst' (did you mean 'list'?); try", runTool({"lst"}));
    expectFailure(2, "help: there is no command 'nosuch'; try", runTool({"help", "nosuch"}));
    expectFailure(2, "watch: there is no option '--jsn' (did you mean '--json'?); try",
                  runTool({"watch", "robot1", "*", "--jsn"}));
    expectFailure(2, "ping: too few arguments; expected: HOST; try 'robaxi ping --help'",
                  runTool({"ping"}));
    expectFailure(2, "a port is a number from 1 to 65535", runTool({"ping", "robot1:0"}));
}

TEST_F(Commands, HelpAndVersionGoToStandardOutput) {
    EXPECT_THAT(runTool({"--help"}).fOutput, StartsWith("Usage: robaxi COMMAND"));
    EXPECT_THAT(runTool({"-h"}).fOutput, StartsWith("Usage: robaxi COMMAND"));
    EXPECT_THAT(runTool({"--version"}).fOutput, MatchesRegex("robaxi [0-9.]+\n"));
    const ToolResult help = runTool({"watch", "--help"});
    EXPECT_EQ(0, help.fStatus);
    EXPECT_THAT(help.fOutput, StartsWith("Usage: robaxi watch [OPTION]... HOST KEY..."));
    EXPECT_EQ(help.fOutput, runTool({"help", "watch"}).fOutput);
    EXPECT_EQ(runTool({"--help"}).fOutput, runTool({"help"}).fOutput);
}

TEST_F(Commands, NoCommandAtAllIsAMistakeThatShowsTheHelp) {
    const ToolResult alone = runTool({});
    EXPECT_EQ(2, alone.fStatus);
    EXPECT_EQ("robaxi: a command is missing\n", alone.fErrors);
    EXPECT_EQ(runTool({"--help"}).fOutput, alone.fOutput);
}

}  // namespace
}  // namespace obvista_test
