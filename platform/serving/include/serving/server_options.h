#ifndef SERVING_SERVER_OPTIONS_H
#define SERVING_SERVER_OPTIONS_H

#include <boost/program_options.hpp>

#include <exception>
#include <optional>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace serving {

/** Security settings of the middleware; empty fields are left to the user's configuration. */
struct Security {
    std::string fCertificate;  ///< PEM file
    std::string fKey;          ///< PEM file
    std::string fTokenFile;
    bool fAllowsPlainToken = false;
};

/** The options that all programs have which are robots: how to find, reach and secure them. */
struct ServerOptions {
    std::string fName;  ///< under which it appears
    std::string fAddress;
    int fPort = 0;
    int fHttpPort = 0;  ///< 0 for no HTTP
    std::string fIcon;  ///< file; empty for the installed one
    bool fAnnounce = true;
    Security fSecurity;
};

/** Adds the options of ServerOptions. @param http purpose of the HTTP port, for the help */
void addServerOptions(boost::program_options::options_description& options,
                      const std::string& http);

/**
 * Returns the options given on the command line. The name is not checked: see toName().
 *
 * @throws std::invalid_argument with a sentence for the user
 */
ServerOptions toServerOptions(const boost::program_options::variables_map& given);

/** Returns a name that can be announced. @throws std::invalid_argument for any other */
std::string toName(const std::string& text);

/** Returns the value of an option. @throws std::invalid_argument if it is not within the range */
template <class Number>
Number toNumberWithin(const boost::program_options::variables_map& given, const std::string& option,
                      Number lowest, Number highest) {
    const auto number = given[option].as<Number>();
    // Written so that NaN is refused.
    if (number >= lowest && number <= highest) {
        return number;
    }
    std::ostringstream mistake;
    mistake << "--" << option << " must be from " << lowest << " to " << highest << ", not "
            << number;
    throw std::invalid_argument(mistake.str());
}

/** Returns the value of an option that is a port from `lowest` to 65535; throws as above. */
int toPort(const boost::program_options::variables_map& given, const std::string& option,
           int lowest);

/** A command line's options, or the status with which the program ends. */
struct CommandLine {
    std::optional<boost::program_options::variables_map> fGiven;
    int fExitStatus = 0;
};

/** Exit status for a command line that is not understood. */
constexpr int a_wrongUsage = 2;

/** Reports a mistake in the command line; returns a_wrongUsage. */
int reportWrongUsage(std::ostream& errors, const std::string& program, const std::string& mistake);

/**
 * Parses a command line of options only, which must include --help and --version.
 *
 * @param program name, for messages
 * @param purpose of the program, for --help
 * @param epilogue the end of the help
 */
CommandLine parseCommandLine(const std::string& program, const std::string& purpose,
                             const std::string& epilogue,
                             const boost::program_options::options_description& options,
                             const std::vector<std::string>& arguments, std::ostream& output,
                             std::ostream& errors);

/** The options of a program, or the status with which it ends. */
template <class Options>
struct ParsedOptions {
    std::optional<Options> fOptions;
    int fExitStatus = 0;
};

/**
 * Converts a command line to the options of a program.
 *
 * @param toOptions throws a sentence for the user, which is reported as wrong usage
 */
template <class Options>
ParsedOptions<Options> toParsedOptions(
    const CommandLine& line, Options (*toOptions)(const boost::program_options::variables_map&),
    const std::string& program, std::ostream& errors) {
    if (!line.fGiven) {
        return {std::nullopt, line.fExitStatus};
    }
    try {
        return {toOptions(*line.fGiven), 0};
    } catch (const std::exception& mistake) {
        return {std::nullopt, reportWrongUsage(errors, program, mistake.what())};
    }
}

}  // namespace serving

#endif
