#ifndef OBVISTA_BRIDGE_OPTIONS_H
#define OBVISTA_BRIDGE_OPTIONS_H

#include "ros2/ros2_source.h"

#include <ostream>
#include <serving/server_options.h>
#include <string>
#include <vector>

namespace bridge {

/** Values of the command line options. */
struct Options {
    serving::ServerOptions fServer;
    Ros2Options fRos2;
    bool fIsHttpPortGiven = false;
};

using ParsedOptions = serving::ParsedOptions<Options>;

/** Parses the command line without the program's name. Errors go to a stream, with status 2. */
ParsedOptions parseOptions(const std::vector<std::string>& arguments, std::ostream& output,
                           std::ostream& errors);

}  // namespace bridge

#endif
