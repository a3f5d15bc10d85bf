#include "options.h"

#include <boost/program_options.hpp>

#include <algorithm>
#include <initializer_list>
#include <stdexcept>

namespace robot {

namespace po = boost::program_options;

namespace {

constexpr const char* a_program = "robaxi-robot";
constexpr int a_mostKeys = 1000000;
constexpr double a_lowestRate = 0.1;
constexpr double a_highestRate = 1000;

po::options_description describedOptions() {
    po::options_description options("Options", 100);
    // clang-format off
    options.add_options()
        ("help,h", "print this help and exit")
        ("version", "print the version and exit")
        ("kind", po::value<std::string>()->default_value("robot"),
         "'robot': a simulated humanoid; 'computer': this machine and its own figures");
    // clang-format on
    serving::addServerOptions(options, "the web page and the icon");
    // clang-format off
    options.add_options()
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
        ("stamp", "draw number and time of each frame into its picture, in squares for tests to read")
        ("no-middleware", "do not run the middleware; only announce the robot and serve HTTP")
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
    load.fKeys = serving::toNumberWithin(given, "keys", 0, a_mostKeys);
    load.fChanging = given.count("changing") != 0
                         ? serving::toNumberWithin(given, "changing", 0, load.fKeys)
                         : load.fKeys / 10;
    load.fRate = serving::toNumberWithin(given, "rate", a_lowestRate, a_highestRate);
    return load;
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
    refuseTogether(given,
                   {"kind", "seed", "keys", "changing", "rate", "hostile", "no-video", "stamp",
                    "no-middleware"},
                   " is for a simulated robot, not for --replay");
    if (given["sim-port"].as<int>() != 0) {
        throw std::invalid_argument("--sim-port is for a simulated robot, not for --replay");
    }
    replay.fRobot = given["robot"].as<std::string>();
    replay.fIsList = given.count("list-robots") != 0;
    replay.fPlayer.fStart = serving::toNumberWithin(given, "start", 0.0, longest);
    replay.fPlayer.fSpeed = serving::toNumberWithin(given, "speed", a_lowestSpeed, a_highestSpeed);
    replay.fPlayer.fLoop = given.count("loop") != 0;
    replay.fPlayer.fIsPaused = given.count("paused") != 0;
    return replay;
}

Options toOptions(const po::variables_map& given) {
    Options options;
    static_cast<serving::ServerOptions&>(options) = serving::toServerOptions(given);
    options.fKind = toKind(given["kind"].as<std::string>());
    options.fReplay = toReplay(given);
    options.fName = options.fReplay.fFile.empty() || isGiven(given, "name")
                        ? serving::toName(options.fName)
                        : "";
    options.fSeed = toSeed(given["seed"].as<std::string>());
    options.fLoad = toLoad(given);
    options.fHostile = given.count("hostile") != 0;
    options.fVideo = given.count("no-video") == 0;
    options.fStamp = given.count("stamp") != 0;
    options.fMiddleware = given.count("no-middleware") == 0;
    options.fSimPort = serving::toPort(given, "sim-port", 0);
    return options;
}

}  // namespace

ParsedOptions parseOptions(const std::vector<std::string>& arguments, std::ostream& output,
                           std::ostream& errors) {
    const serving::CommandLine line = serving::parseCommandLine(
        a_program, "A robot, this computer or a recorded robot that runs the Robaxi middleware.",
        "It prints one line when it can be reached and runs until SIGTERM or SIGINT.\n"
        "Exit status: 0 terminated by request, 1 could not start, 2 wrong options.\n",
        describedOptions(), arguments, output, errors);
    return serving::toParsedOptions(line, toOptions, a_program, errors);
}

}  // namespace robot
