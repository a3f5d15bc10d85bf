#include "serving/server_options.h"

#include <base/address.h>
#include <base/safe_text.h>

#include <array>
#include <filesystem>
#include <unistd.h>

namespace serving {

namespace po = boost::program_options;

namespace {

constexpr std::size_t a_longestName = 63;  // the longest label of a name that is announced

std::string machineName() {
    std::array<char, 256> name{};
    if (gethostname(name.data(), name.size() - 1) != 0 || name[0] == '\0') {
        return "robot";
    }
    return std::string(name.data()).substr(0, a_longestName);
}

std::string toFile(const po::variables_map& given, const std::string& option) {
    const auto file = given[option].as<std::string>();
    return file.empty() ? file : std::filesystem::absolute(file).string();
}

Security toSecurity(const po::variables_map& given) {
    Security security{toFile(given, "tls-certificate"), toFile(given, "tls-key"),
                      toFile(given, "token-file"), given.count("allow-plain-token") != 0};
    if (security.fCertificate.empty() != security.fKey.empty()) {
        throw std::invalid_argument("--tls-certificate and --tls-key go together");
    }
    return security;
}

std::string toAddress(const std::string& text) {
    if (!base::isIPv4(text) && !base::isIPv6(text)) {
        throw std::invalid_argument("--address must be an IPv4 or IPv6 address, not '" + text +
                                    "'");
    }
    return text;
}

}  // namespace

void addServerOptions(po::options_description& options, const std::string& http) {
    const std::string httpText = "port of " + http + "; 0 for none";
    // clang-format off
    options.add_options()
        ("name", po::value<std::string>()->default_value(machineName()),
         "name under which it appears, 1 to 63 bytes")
        ("address", po::value<std::string>()->default_value("127.0.0.1"),
         "address to listen on; 0.0.0.0 opens the robot to the whole network, without "
         "authentication unless --token-file is given")
        ("port", po::value<int>()->default_value(9559), "port of the middleware, 1 to 65535")
        ("tls-certificate", po::value<std::string>()->default_value(""),
         "PEM file of the certificate; with it and --tls-key the middleware accepts TLS only")
        ("tls-key", po::value<std::string>()->default_value(""), "PEM file of the private key")
        ("token-file", po::value<std::string>()->default_value(""),
         "file with the token, one line, that clients must send")
        ("allow-plain-token", "also accept the token over connections without TLS")
        ("http-port", po::value<int>()->default_value(80), httpText.c_str())
        ("icon", po::value<std::string>()->default_value(""),
         "picture to serve as the icon, at most 4 MiB; programs show at most 512 KiB")
        ("no-announce", "do not announce it on the network");
    // clang-format on
}

ServerOptions toServerOptions(const po::variables_map& given) {
    ServerOptions options;
    options.fName = given["name"].as<std::string>();
    options.fAddress = toAddress(given["address"].as<std::string>());
    options.fPort = toPort(given, "port", 1);
    options.fHttpPort = toPort(given, "http-port", 0);
    options.fIcon = given["icon"].as<std::string>();
    options.fAnnounce = given.count("no-announce") == 0;
    options.fSecurity = toSecurity(given);
    return options;
}

std::string toName(const std::string& text) {
    if (text.empty() || text.size() > a_longestName || base::oneLine(text) != text) {
        throw std::invalid_argument(
            "--name must have 1 to 63 bytes of UTF-8 without control characters");
    }
    return text;
}

int toPort(const po::variables_map& given, const std::string& option, int lowest) {
    return toNumberWithin(given, option, lowest, 65535);
}

int reportWrongUsage(std::ostream& errors, const std::string& program, const std::string& mistake) {
    errors << program << ": " << base::oneLine(mistake) << "\nTry '" << program << " --help'.\n";
    return a_wrongUsage;
}

CommandLine parseCommandLine(const std::string& program, const std::string& purpose,
                             const std::string& epilogue, const po::options_description& options,
                             const std::vector<std::string>& arguments, std::ostream& output,
                             std::ostream& errors) {
    try {
        po::variables_map given;
        po::store(
            po::command_line_parser(arguments)
                .options(options)
                .positional({})  // a word that belongs to no option is an error
                .style(po::command_line_style::unix_style & ~po::command_line_style::allow_guessing)
                .run(),
            given);
        if (given.count("help") != 0) {
            output << "Usage: " << program << " [OPTION]...\n"
                   << purpose << "\n\n"
                   << options << '\n'
                   << epilogue;
            return {std::nullopt, 0};
        }
        if (given.count("version") != 0) {
            output << program << " " OBVISTA_VERSION "\n";
            return {std::nullopt, 0};
        }
        return {given, 0};
    } catch (const po::error& mistake) {
        return {std::nullopt, reportWrongUsage(errors, program, mistake.what())};
    }
}

}  // namespace serving
