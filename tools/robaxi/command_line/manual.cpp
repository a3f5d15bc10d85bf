#include "command_line/manual.h"

#include "command_line/command_line.h"
#include "commands/commands.h"

#include <sstream>

namespace robaxi_tool {

namespace {

struct Example {
    const char* fCommand;
    const char* fText;
};

constexpr Example a_examples[] = {
    {"robaxi list", "List the robots on the network."},
    {"robaxi get robot1 Battery/Charge", "One value, for a script."},
    {"robaxi watch robot1 'Joint/Head*/Position' --csv >head.csv", "Values as they change."},
    {"robaxi snapshot robot1 -o head.png", "A picture of its camera."},
    {"robaxi doctor robot1", "Find out why it cannot be reached."},
};

/** Escapes a text so that nothing in it is a request or typography. */
std::string verbatim(const std::string& text) {
    std::string safe;
    bool isLineStart = true;
    for (const char character : text) {
        if (isLineStart && (character == '.' || character == '\'')) {
            safe += "\\&";
        }
        isLineStart = character == '\n';
        switch (character) {
            case '\\':
                safe += "\\e";
                break;
            case '-':
                safe += "\\-";
                break;
            case '\'':
                safe += "\\(aq";
                break;
            default:
                safe += character;
        }
    }
    return safe;
}

void writeEntry(std::ostream& page, const std::string& term, const std::string& text) {
    page << ".TP\n.B " << verbatim(term) << '\n' << verbatim(text) << '\n';
}

void writeCommand(std::ostream& page, Command& command) {
    const std::string synopsis = command.words().fSynopsis;
    page << ".SS \"robaxi " << command.name() << " [OPTION]..."
         << (synopsis.empty() ? "" : " " + verbatim(synopsis)) << "\"\n"
         << verbatim(capitalised(command.summary())) << ".\n"
         << verbatim(command.explanation());
    for (const Options::Entry& option : optionsOf(command)) {
        writeEntry(page, option.fTerm, option.fDescription);
    }
}

}  // namespace

std::string manualPage() {
    std::ostringstream page;
    page << ".TH ROBAXI 1 \"\" \"Obvista " OBVISTA_VERSION
            "\" \"User commands\"\n"
            ".SH NAME\nrobaxi \\- find robots that run the Robaxi middleware and communicate "
            "with them\n"
            ".SH SYNOPSIS\n.B robaxi\n.I COMMAND\n[\\fIOPTION\\fR]... [\\fIWORD\\fR]...\n"
            ".SH DESCRIPTION\n"
         << verbatim(a_hostHelp)
         << ".PP\nOptions may appear anywhere on the command line; \\-\\- ends the "
            "options.\n"
            ".SH COMMANDS\n";
    for (const auto& command : makeCommands()) {
        writeCommand(page, *command);
    }
    page << ".SH EXIT STATUS\n";
    for (const ExitCode& code : exitCodes()) {
        writeEntry(page, code.fNumber, code.fMeaning);
    }
    page << ".SH ENVIRONMENT\n";
    writeEntry(page, "NO_COLOR", "No colours, even on a terminal.");
    page << ".SH EXAMPLES\n";
    for (const Example& example : a_examples) {
        writeEntry(page, example.fCommand, example.fText);
    }
    return page.str();
}

}  // namespace robaxi_tool
