#include "command_line.h"

#include <boost/program_options/value_semantic.hpp>

namespace obvista {

namespace po = boost::program_options;

CommandLine::CommandLine() : fDescription("Allowed options") {
    // "plugin" and "port" share the short name on purpose: it is part of the published option
    // table, and -p is rejected as ambiguous. The texts are also fixed.
    fDescription.add_options()("help,h", "Produces help message")("version", "Outputs version")(
        "plugin,p", po::value<std::string>(&fPluginName)->default_value(std::string()),
        "Starts Obvista and automatically load a plugin.")(
        "ip", po::value<std::string>(&fIP)->default_value("127.0.0.1"),
        "Can be specifed to connect Obvista's plugin to the given Robaxi's IP")(
        "port,p", po::value<int>(&fPort)->default_value(9559),
        " Can be specifed to connect Obvista's plugin to the given Robaxi's port")(
        "force-port", po::value<int>(&fBrokerPort)->default_value(0),
        "Obvista will use this port for its broker. If 0 is set, it runs on first port available "
        "after 54010 (included).");
}

}  // namespace obvista
