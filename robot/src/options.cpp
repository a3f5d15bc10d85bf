#include "options.h"

#include <base/address.h>
#include <base/safe_text.h>

#include <boost/program_options.hpp>

#include <algorithm>
#include <array>
#include <filesystem>
#include <initializer_list>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

namespace robot {

namespace po = boost::program_options;

namespace {

constexpr std::size_t a_longestName = 63;  // the longest label of a name that is announced
constexpr int a_wrongUsage = 2;
constexpr int a_mostKeys = 1000000;
constexpr double a_lowestRate = 0.1;
constexpr double a_highestRate = 1000;

std::string machineName() {
    std::array<char, 256> name{};
    if (gethostname(name.data(), name.size() - 1) != 0 || name[0] == '\0') {
        return "robot";
    }
    return std::string(name.data()).substr(0, a_longestName);
}

po::options_description describedOptions() {
    po::options_description options("Options", 100);
    // clang-format off
    options.add_options()
        ("help,h", "print this help and exit")
        ("version", "print the version and exit")
        ("kind", po::value<std::string>()->default_value("robot"),
         "'robot': a simulated humanoid; 'computer': this machine and its own figures")
        ("name", po::value<std::string>()->default_value(machineName()),
         "name under which it appears, 1 to 63 bytes")
        ("address", po::value<std::string>()->default_value("127.0.0.1"),
         "address to listen on; 0.0.0.0 opens the robot to the whole network, without "
         "authentication unless --token-file is given")
        ("port", po::value<int>()->default_value(9559), "port of the middleware, 1 to 65535")
        ("seed", po::value<std::string>()->default_value("1"),
         "seed of the simulated humanoid's behaviour; the same seed repeats a run")
        ("keys", po::value<int>()->default_value(0),
         "number of values of drives to serve instead of those of the kind, up to 1000000; 0 for "
         "none")
        ("changing", po::value<int>(),
         "how many of --keys change; by default a tenth of them")
        ("rate", po::value<double>()->default_value(50, "50"),
         "changes of each of these per second, 0.1 to 1000")
        ("hostile", "also serve values that are difficult for viewers: markup, texts of 10 MB and more")
        ("no-video", "serve no cameras: there is no module KVVideo")
        ("tls-certificate", po::value<std::string>()->default_value(""),
         "PEM file of the certificate; with it and --tls-key the middleware accepts TLS only")
        ("tls-key", po::value<std::string>()->default_value(""), "PEM file of the private key")
        ("token-file", po::value<std::string>()->default_value(""),
         "file with the token, one line, that clients must send")
        ("allow-plain-token", "also accept the token over connections without TLS")
        ("no-middleware", "do not run the middleware; only announce the robot and serve HTTP")
        ("http-port", po::value<int>()->default_value(80),
         "port of the web page and the icon; 0 for none")
        ("icon", po::value<std::string>()->default_value(""),
         "picture to serve as the icon, at most 4 MiB; programs show at most 512 KiB")
        ("replay", po::value<std::string>()->default_value(""),
         "MCAP file with a recorded robot, which is served instead of a simulated one")
        ("robot", po::value<std::string>()->default_value(""),
         "name of the robot to replay, if the file has several")
        ("list-robots", "print the names of the robots in the file, one a line, and exit")
        ("start", po::value<double>()->default_value(0, "0"),
         "seconds from the beginning of the recording at which the replay begins")
        ("speed", po::value<double>()->default_value(1, "1"),
         "recorded seconds in a second, 0.1 to 50")
        ("loop", "start over at the end of the recording")
        ("paused", "start the replay paused; clients can play it")
        ("no-announce", "do not announce it on the network")
        ("sim-port", po::value<int>()->default_value(0),
         "a second port that serves KVSim alone, and stays open when the middleware is switched "
         "off; 0 for none");
    // clang-format on
    return options;
}

Kind toKind(const std::string& text) {
    if (text == "robot") {
        return Kind::Robot;
    }
    if (text == "computer") {
        return Kind::Computer;
    }
    throw std::invalid_argument("--kind must be 'robot' or 'computer', not '" + text + "'");
}

std::string toName(const std::string& text) {
    if (text.empty() || text.size() > a_longestName || base::oneLine(text) != text) {
        throw std::invalid_argument(
            "--name must have 1 to 63 bytes of UTF-8 without control characters");
    }
    return text;
}

template <class Number>
Number toNumberWithin(const po::variables_map& given, const std::string& option, Number lowest,
                      Number highest) {
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

int toPort(const po::variables_map& given, const std::string& option, int lowest) {
    return toNumberWithin(given, option, lowest, 65535);
}

std::uint64_t toSeed(const std::string& text) {
    // Digits only: the conversion would silently wrap a negative number around.
    const bool digits = !text.empty() && std::all_of(text.begin(), text.end(),
                                                     [](char c) { return c >= '0' && c <= '9'; });
    try {
        if (digits) {
            return std::stoull(text);
        }
    } catch (const std::out_of_range&) {
    }
    throw std::invalid_argument("--seed must be a whole number from 0 to 2^64-1, not '" + text +
                                "'");
}

Load toLoad(const po::variables_map& given) {
    Load load;
    load.fKeys = toNumberWithin(given, "keys", 0, a_mostKeys);
    load.fChanging = given.count("changing") != 0 ? toNumberWithin(given, "changing", 0, load.fKeys)
                                                  : load.fKeys / 10;
    load.fRate = toNumberWithin(given, "rate", a_lowestRate, a_highestRate);
    return load;
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

bool isGiven(const po::variables_map& given, const char* option) {
    return given.count(option) != 0 && !given[option].defaulted();
}

void refuseTogether(const po::variables_map& given, std::initializer_list<const char*> options,
                    const std::string& reason) {
    for (const char* const option : options) {
        if (isGiven(given, option)) {
            throw std::invalid_argument(std::string("--") + option + reason);
        }
    }
}

Replay toReplay(const po::variables_map& given) {
    constexpr double longest = 1e9;
    Replay replay;
    replay.fFile = given["replay"].as<std::string>();
    if (replay.fFile.empty()) {
        refuseTogether(given, {"robot", "list-robots", "start", "speed", "loop", "paused"},
                       " needs --replay and a file");
        return replay;
    }
    refuseTogether(
        given, {"kind", "seed", "keys", "changing", "rate", "hostile", "no-video", "no-middleware"},
        " is for a simulated robot, not for --replay");
    if (given["sim-port"].as<int>() != 0) {
        throw std::invalid_argument("--sim-port is for a simulated robot, not for --replay");
    }
    replay.fRobot = given["robot"].as<std::string>();
    replay.fIsList = given.count("list-robots") != 0;
    replay.fPlayer.fStart = toNumberWithin(given, "start", 0.0, longest);
    replay.fPlayer.fSpeed = toNumberWithin(given, "speed", a_lowestSpeed, a_highestSpeed);
    replay.fPlayer.fLoop = given.count("loop") != 0;
    replay.fPlayer.fIsPaused = given.count("paused") != 0;
    return replay;
}

Options toOptions(const po::variables_map& given) {
    Options options;
    options.fKind = toKind(given["kind"].as<std::string>());
    options.fReplay = toReplay(given);
    if (options.fReplay.fFile.empty() || isGiven(given, "name")) {
        options.fName = toName(given["name"].as<std::string>());
    }
    options.fAddress = toAddress(given["address"].as<std::string>());
    options.fPort = toPort(given, "port", 1);
    options.fSeed = toSeed(given["seed"].as<std::string>());
    options.fLoad = toLoad(given);
    options.fHostile = given.count("hostile") != 0;
    options.fVideo = given.count("no-video") == 0;
    options.fSecurity = toSecurity(given);
    options.fMiddleware = given.count("no-middleware") == 0;
    options.fHttpPort = toPort(given, "http-port", 0);
    options.fIcon = given["icon"].as<std::string>();
    options.fAnnounce = given.count("no-announce") == 0;
    options.fSimPort = toPort(given, "sim-port", 0);
    return options;
}

void printHelp(std::ostream& output, const po::options_description& options) {
    output << "Usage: robaxi-robot [OPTION]...\n"
              "A robot, this computer or a recorded robot that runs the Robaxi middleware.\n\n"
           << options
           << "\n"
              "It prints one line when it can be reached and runs until SIGTERM or SIGINT.\n"
              "Exit status: 0 terminated by request, 1 could not start, 2 wrong options.\n";
}

}  // namespace

ParsedOptions parseOptions(const std::vector<std::string>& arguments, std::ostream& output,
                           std::ostream& errors) {
    const po::options_description described = describedOptions();
    try {
        po::variables_map given;
        po::store(
            po::command_line_parser(arguments)
                .options(described)
                .positional({})  // a word that belongs to no option is an error
                .style(po::command_line_style::unix_style & ~po::command_line_style::allow_guessing)
                .run(),
            given);
        if (given.count("help") != 0) {
            printHelp(output, described);
            return {std::nullopt, 0};
        }
        if (given.count("version") != 0) {
            output << "robaxi-robot " OBVISTA_VERSION "\n";
            return {std::nullopt, 0};
        }
        return {toOptions(given), 0};
    } catch (const std::exception& mistake) {
        errors << "robaxi-robot: " << base::oneLine(mistake.what())
               << "\nTry 'robaxi-robot --help'.\n";
        return {std::nullopt, a_wrongUsage};
    }
}

}  // namespace robot
