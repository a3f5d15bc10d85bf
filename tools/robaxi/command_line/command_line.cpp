#include "command_line/command_line.h"

#include "commands/commands.h"
#include "process/failure.h"

#include <cctype>
#include <iomanip>
#include <sstream>

namespace robaxi_tool {

namespace {

constexpr int a_nameWidth = 10;

using Arguments = std::vector<std::string>;

Console::Color toColor(const std::string& text) {
    if (text == "auto") {
        return Console::Color::Auto;
    }
    if (text == "never") {
        return Console::Color::Never;
    }
    throw UsageError("--color is 'auto' or 'never', not '" + text + "'");
}

/** The options of a command, including those of all commands. */
struct DescribedOptions {
    explicit DescribedOptions(Command& command) {
        command.addOptions(fOptions);
        fOptions.addText("--color", "auto|never", &fColor,
                         "'auto': colours on a terminal, unless NO_COLOR is set", "auto");
        fOptions.addHelp(&fHelp);
    }

    Options fOptions;
    bool fHelp = false;
    std::string fColor;
};

void checkWords(const Words& expected, const Arguments& given) {
    if (given.size() < expected.fAtLeast) {
        throw UsageError("too few arguments; expected: " + expected.fSynopsis);
    }
    if (given.size() > expected.fAtMost) {
        throw UsageError(
            "unexpected argument '" + given[expected.fAtMost] + "'; expected: " +
            (expected.fSynopsis.empty() ? std::string("options only") : expected.fSynopsis));
    }
}

}  // namespace

std::vector<Options::Entry> optionsOf(Command& command) {
    return DescribedOptions(command).fOptions.entries();
}

ParsedCommandLine parseCommandLine(Command& command, const Arguments& arguments) {
    DescribedOptions described(command);
    ParsedCommandLine parsed;
    parsed.fWords = described.fOptions.parse(arguments);
    parsed.fHelp = described.fHelp;
    if (!parsed.fHelp) {
        parsed.fColor = toColor(described.fColor);
        checkWords(command.words(), parsed.fWords);
    }
    return parsed;
}

std::string capitalised(std::string sentence) {
    sentence.front() =
        static_cast<char>(std::toupper(static_cast<unsigned char>(sentence.front())));
    return sentence;
}

std::string helpText(Command& command) {
    const std::string synopsis = command.words().fSynopsis;
    const std::string explanation = command.explanation();
    return "Usage: robaxi " + command.name() + " [OPTION]..." +
           (synopsis.empty() ? "" : " " + synopsis) + '\n' + capitalised(command.summary()) +
           ".\n" + (explanation.empty() ? "" : "\n" + explanation) +
           DescribedOptions(command).fOptions.help();
}

std::string generalHelpText() {
    std::ostringstream text;
    text
        << "Usage: robaxi COMMAND [OPTION]... [WORD]...\n"
           "Finds robots that run the Robaxi middleware and communicates with them.\n\nCommands:\n";
    for (const auto& command : makeCommands()) {
        text << "  " << std::left << std::setw(a_nameWidth) << command->name() << command->summary()
             << '\n';
    }
    text << "\n'robaxi help COMMAND' shows the help of a command, 'robaxi --version' the "
            "version.\n\n"
         << a_hostHelp << "\nExit status:\n";
    for (const ExitCode& code : exitCodes()) {
        text << "  " << std::left << std::setw(14) << code.fNumber << code.fMeaning << '\n';
    }
    return text.str();
}

}  // namespace robaxi_tool
