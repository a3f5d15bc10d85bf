#include "options.h"

#include "ros2/domain.h"

#include <boost/program_options.hpp>

#include <cstdlib>
#include <stdexcept>

namespace bridge {

namespace po = boost::program_options;

namespace {

constexpr const char* a_program = "robaxi-bridge";

po::options_description describedOptions() {
    po::options_description options("Options", 100);
    // clang-format off
    options.add_options()
        ("help,h", "print this help and exit")
        ("version", "print the version and exit")
        ("domain", po::value<int>(),
         "number of the domain, 0 to 232; ROS_DOMAIN_ID, or 0, unless given")
        ("interface", po::value<std::string>()->default_value(""),
         "network interface of the robot, for instance eth0")
        ("topics", po::value<std::vector<std::string>>()->multitoken(),
         "only topics that match one of these patterns, in which * stands for any characters, for instance '/joint*'")
        ("allow-write", po::value<std::vector<std::string>>(),
         "topic of a number, bool or text of std_msgs that clients may set, for instance /volume; "
         "may be given several times. Nothing else is published on the robot");
    // clang-format on
    serving::addServerOptions(options, "the icon");
    return options;
}

int defaultDomain() {
    const char* const text = std::getenv("ROS_DOMAIN_ID");
    if (text == nullptr || *text == '\0') {
        return 0;
    }
    char* end = nullptr;
    const long domain = std::strtol(text, &end, 10);
    if (*end != '\0' || domain < 0 || domain > a_highestDomain) {
        throw std::invalid_argument(std::string("ROS_DOMAIN_ID is 0 to 232, not ") + text);
    }
    return static_cast<int>(domain);
}

std::vector<std::string> toTexts(const po::variables_map& given, const std::string& option) {
    return given.count(option) != 0 ? given[option].as<std::vector<std::string>>()
                                    : std::vector<std::string>();
}

Options toOptions(const po::variables_map& given) {
    Options options;
    options.fServer = serving::toServerOptions(given);
    options.fServer.fName = serving::toName(options.fServer.fName);
    options.fIsHttpPortGiven = !given["http-port"].defaulted();
    options.fRos2.fDomain = given.count("domain") != 0
                                ? serving::toNumberWithin(given, "domain", 0, a_highestDomain)
                                : defaultDomain();
    options.fRos2.fInterface = given["interface"].as<std::string>();
    options.fRos2.fTopics = toTexts(given, "topics");
    options.fRos2.fWritable = toTexts(given, "allow-write");
    for (const std::string& topic : options.fRos2.fWritable) {
        if (topic.size() < 2 || topic.front() != '/') {
            throw std::invalid_argument("--allow-write takes a topic such as /volume, not '" +
                                        topic + "'");
        }
    }
    return options;
}

}  // namespace

ParsedOptions parseOptions(const std::vector<std::string>& arguments, std::ostream& output,
                           std::ostream& errors) {
    const serving::CommandLine line = serving::parseCommandLine(
        a_program, "A robot that runs ROS 2, served as one that runs the Robaxi middleware.",
        "It prints one line when it can be reached and runs until SIGTERM or SIGINT. "
        "CYCLONEDDS_URI\n"
        "configures DDS, for instance peers in a network without multicast.\n"
        "Exit status: 0 terminated by request, 1 could not start, 2 wrong options.\n",
        describedOptions(), arguments, output, errors);
    return serving::toParsedOptions(line, toOptions, a_program, errors);
}

}  // namespace bridge
