#include "command_line/command_line.h"

#include "commands/commands.h"
#include "process/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace robaxi_tool {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class SampleCommand : public Command {
  public:
    std::string name() const override { return "sample"; }
    std::string summary() const override { return "does something"; }
    Words words() const override { return {"HOST [WORD...]", 1, 3}; }
    std::string explanation() const override { return "It explains.\n"; }
    void addOptions(Options& options) override {
        options.addNumber("--count", "N", &fCount, 5, 1, 10, "how many");
        options.addNumber("--rate", "HZ", &fRate, 0.5, 0.1, 2.0, "how often");
        options.addSwitch("--json", &fJson, "as JSON");
        options.addText("-o,--output", "FILE", &fFile, "where to");
    }
    ExitStatus run(const std::vector<std::string>&, Surroundings&) override {
        return ExitStatus::Success;
    }

    int fCount = 0;
    double fRate = 0;
    bool fJson = false;
    std::string fFile;
};

std::string mistakeOf(const std::vector<std::string>& arguments) {
    SampleCommand command;
    try {
        parseCommandLine(command, arguments);
    } catch (const UsageError& mistake) {
        return mistake.what();
    }
    return {};
}

TEST(CommandLine, OptionsStandAnywhereAmongTheWords) {
    SampleCommand command;
    const auto line = parseCommandLine(
        command, {"--count", "7", "robot1", "--json", "--rate=1.5", "a", "--color", "never"});
    EXPECT_THAT(line.fWords, ElementsAre("robot1", "a"));
    EXPECT_EQ(7, command.fCount);
    EXPECT_EQ(1.5, command.fRate);
    EXPECT_TRUE(command.fJson);
    EXPECT_EQ(Console::Color::Never, line.fColor);
}

TEST(CommandLine, OptionsNotGivenHaveTheirDefaults) {
    SampleCommand command;
    const auto line = parseCommandLine(command, {"robot1"});
    EXPECT_EQ(5, command.fCount);
    EXPECT_EQ(0.5, command.fRate);
    EXPECT_FALSE(command.fJson);
    EXPECT_EQ(Console::Color::Auto, line.fColor);
    EXPECT_FALSE(line.fHelp);
}

TEST(CommandLine, NegativeNumbersAreWords) {
    SampleCommand command;
    EXPECT_THAT(parseCommandLine(command, {"robot1", "-0.5", "-.5"}).fWords,
                ElementsAre("robot1", "-0.5", "-.5"));
    EXPECT_THAT(parseCommandLine(command, {"robot1", "-3", "--json"}).fWords,
                ElementsAre("robot1", "-3"));
}

TEST(CommandLine, EverythingAfterTwoDashesIsAWord) {
    SampleCommand command;
    EXPECT_THAT(parseCommandLine(command, {"robot1", "--", "--json", "-x"}).fWords,
                ElementsAre("robot1", "--json", "-x"));
    EXPECT_FALSE(command.fJson);
}

TEST(CommandLine, ListsAndMapsAreWords) {
    SampleCommand command;
    EXPECT_THAT(parseCommandLine(command, {"[1, 2]", "{}", "[]"}).fWords,
                ElementsAre("[1, 2]", "{}", "[]"));
    EXPECT_THAT(parseCommandLine(command, {"robot1", "list"}).fWords,
                ElementsAre("robot1", "list"));
}

TEST(CommandLine, ValuesAreTakenAsTheyStand) {
    for (const char* text : {"-", "[1,2]", "{}", "", "-3", "a=b", "%%"}) {
        SampleCommand command;
        parseCommandLine(command, {"robot1", "-o", text});
        EXPECT_EQ(text, command.fFile);
    }
    SampleCommand command;
    parseCommandLine(command, {"robot1", "-ohere", "--count", "010"});
    EXPECT_EQ("here", command.fFile);
    EXPECT_EQ(10, command.fCount) << "not an octal number";
}

TEST(CommandLine, EmptyWordsAreKept) {
    SampleCommand command;
    EXPECT_THAT(parseCommandLine(command, {"robot1", ""}).fWords, ElementsAre("robot1", ""));
}

TEST(CommandLine, MistakesAreNamed) {
    EXPECT_THAT(mistakeOf({}), HasSubstr("too few arguments; expected: HOST [WORD...]"));
    EXPECT_THAT(mistakeOf({"a", "b", "c", "d"}), HasSubstr("unexpected argument 'd'"));
    EXPECT_EQ("there is no option '--nosuch'", mistakeOf({"a", "--nosuch=3"}));
    EXPECT_EQ("there is no option '-x'", mistakeOf({"a", "-x"}));
    EXPECT_EQ("there is no option '--cou' (did you mean '--count'?)",
              mistakeOf({"a", "--cou", "3"}));
    EXPECT_EQ("--count requires one value", mistakeOf({"a", "--count"}));
    EXPECT_EQ("--count requires one value", mistakeOf({"a", "--count", "3", "--count", "4"}));
    EXPECT_EQ("the value after '--count=' is missing", mistakeOf({"a", "--count=", "3"}));
    EXPECT_EQ("--json takes no value", mistakeOf({"a", "--json=no"}));
    EXPECT_EQ("--count must be from 1 to 10, not x", mistakeOf({"a", "--count", "x"}));
    EXPECT_EQ("--count must be from 1 to 10, not 0x5", mistakeOf({"a", "--count", "0x5"}));
    EXPECT_THAT(mistakeOf({"a", "--count", "11"}),
                HasSubstr("--count must be from 1 to 10, not 11"));
    EXPECT_THAT(mistakeOf({"a", "--count", "0"}), HasSubstr("--count must be from 1 to 10, not 0"));
    EXPECT_THAT(mistakeOf({"a", "--rate", "nan"}),
                HasSubstr("--rate must be from 0.1 to 2, not nan"));
    EXPECT_THAT(mistakeOf({"a", "--color", "always"}), HasSubstr("--color is 'auto' or 'never'"));
}

TEST(CommandLine, HelpGoesBeforeMistakes) {
    SampleCommand command;
    EXPECT_TRUE(parseCommandLine(command, {"--help", "--count", "99"}).fHelp);
    EXPECT_TRUE(parseCommandLine(command, {"-h"}).fHelp);
    EXPECT_TRUE(parseCommandLine(command, {"--count", "99", "--nosuch", "--help"}).fHelp);
}

TEST(CommandLine, TheHelpOfACommandShowsItsUseAndOptions) {
    SampleCommand command;
    const std::string help = helpText(command);
    EXPECT_EQ(0U, help.find("Usage: robaxi sample [OPTION]... HOST [WORD...]\nDoes something.\n\n"
                            "It explains.\n\nOptions:\n"));
    for (const char* option : {"--count N (=5)", "--rate HZ (=0.5)", "-o,--output FILE", "--json",
                               "--color auto|never (=auto)", "-h,--help"}) {
        EXPECT_THAT(help, HasSubstr(option));
    }
}

TEST(CommandLine, TheGeneralHelpNamesEachCommandAndExitStatus) {
    const std::string help = generalHelpText();
    const auto commands = makeCommands();
    ASSERT_FALSE(commands.empty());
    for (const auto& command : commands) {
        EXPECT_THAT(help, HasSubstr("  " + command->name() + ' '));
        EXPECT_THAT(help, HasSubstr(command->summary()));
    }
    for (const ExitCode& code : exitCodes()) {
        EXPECT_THAT(help, HasSubstr("  " + code.fNumber + ' '));
        EXPECT_THAT(help, HasSubstr(code.fMeaning));
    }
}

}  // namespace
}  // namespace robaxi_tool
