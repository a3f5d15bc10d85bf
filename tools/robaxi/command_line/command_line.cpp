#include "command_line/command_line.h"

#include "command_line/options.h"
#include "commands/commands.h"
#include "process/failure.h"

#include <boost/program_options/parsers.hpp>
#include <boost/program_options/positional_options.hpp>
#include <boost/program_options/variables_map.hpp>

#include <cctype>
#include <iomanip>
#include <sstream>

namespace robaxi_tool {

namespace {

constexpr const char* a_words = "words";
constexpr unsigned a_lineLength = 100;
constexpr int a_nameWidth = 10;

using Arguments = std::vector<std::string>;

bool isNegativeNumber(const std::string& argument) {
    return argument.size() > 1 && argument[0] == '-' &&
           (argument[1] == '.' || std::isdigit(static_cast<unsigned char>(argument[1])) != 0);
}

/** Takes a negative number for a word, where the parser would see options of one letter. */
std::vector<po::option> takeNegativeNumber(Arguments& arguments) {
    if (!isNegativeNumber(arguments.front())) {
        return {};
    }
    po::option word;
    word.value = {arguments.front()};
    word.original_tokens = word.value;
    arguments.erase(arguments.begin());
    return {word};
}

Console::Color toColor(const std::string& text) {
    if (text == "auto") {
        return Console::Color::Auto;
    }
    if (text == "never") {
        return Console::Color::Never;
    }
    throw UsageError("--color is 'auto' or 'never', not '" + text + "'");
}

po::variables_map parsedOptions(const po::options_description& visible,
                                const Arguments& arguments) {
    po::options_description all;
    all.add(visible).add_options()(a_words, po::value<Arguments>());
    po::positional_options_description positions;
    positions.add(a_words, -1);
    po::variables_map given;
    po::store(
        po::command_line_parser(arguments)
            .options(all)
            .positional(positions)
            .extra_style_parser(takeNegativeNumber)
            .style(po::command_line_style::unix_style & ~po::command_line_style::allow_guessing)
            .run(),
        given);
    return given;
}

void checkWords(const Words& expected, const Arguments& given) {
    if (given.size() < expected.fAtLeast) {
        throw UsageError("too few words: it takes " + expected.fSynopsis);
    }
    if (given.size() > expected.fAtMost) {
        throw UsageError(
            "'" + given[expected.fAtMost] + "' is one word too many: it takes " +
            (expected.fSynopsis.empty() ? std::string("only options") : expected.fSynopsis));
    }
}

}  // namespace

po::options_description describedOptions(Command& command) {
    po::options_description options("Options", a_lineLength);
    command.addOptions(options);
    // clang-format off
    options.add_options()
        ("color", po::value<std::string>()->value_name("WHEN")->default_value("auto"),
         "'auto': colours on a terminal, unless NO_COLOR is set; 'never'")
        ("help,h", "print this text and end");
    // clang-format on
    return options;
}

ParsedCommandLine parseCommandLine(Command& command, const Arguments& arguments) {
    try {
        const po::options_description options = describedOptions(command);
        po::variables_map given = parsedOptions(options, arguments);
        ParsedCommandLine parsed;
        if (given.count("help") != 0) {
            parsed.fHelp = true;
            return parsed;
        }
        po::notify(given);
        parsed.fColor = toColor(given["color"].as<std::string>());
        if (given.count(a_words) != 0) {
            parsed.fWords = given[a_words].as<Arguments>();
        }
        checkWords(command.words(), parsed.fWords);
        return parsed;
    } catch (const po::error& mistake) {
        throw UsageError(mistake.what());
    }
}

std::string capitalised(std::string sentence) {
    sentence.front() =
        static_cast<char>(std::toupper(static_cast<unsigned char>(sentence.front())));
    return sentence;
}

std::string helpText(Command& command) {
    const std::string synopsis = command.words().fSynopsis;
    std::ostringstream text;
    text << "Usage: robaxi " << command.name() << " [OPTION]..."
         << (synopsis.empty() ? "" : " " + synopsis) << "\n"
         << capitalised(command.summary()) << ".\n\n"
         << command.explanation() << (command.explanation().empty() ? "" : "\n")
         << describedOptions(command);
    return text.str();
}

std::string generalHelpText() {
    std::ostringstream text;
    text << "Usage: robaxi COMMAND [OPTION]... [WORD]...\n"
            "Looks for robots that run the Robaxi middleware, and talks to them.\n\nCommands:\n";
    for (const auto& command : makeCommands()) {
        text << "  " << std::left << std::setw(a_nameWidth) << command->name() << command->summary()
             << '\n';
    }
    text << "\n'robaxi COMMAND --help' says more about each. 'robaxi --version' prints the "
            "version.\n\n"
         << a_hostHelp << "\nExit status:\n";
    for (const ExitCode& code : exitCodes()) {
        text << "  " << std::left << std::setw(14) << code.fNumber << code.fMeaning << '\n';
    }
    return text.str();
}

}  // namespace robaxi_tool
