#ifndef OBVISTA_ROBOT_OPTIONS_H
#define OBVISTA_ROBOT_OPTIONS_H

#include "memory/load_memory.h"
#include "replay/player_options.h"

#include <cstdint>
#include <ostream>
#include <serving/server_options.h>
#include <string>
#include <vector>

namespace robot {

enum class Kind { Robot, Computer };

/** A recording that is a robot. */
struct Replay {
    std::string fFile;     ///< empty for none
    std::string fRobot;    ///< one of several in the file; empty for the only one
    bool fIsList = false;  ///< only the names of the robots in the file are wanted
    PlayerOptions fPlayer;
};

/** Values of the command line options. An empty fName means the name in the recording. */
struct Options : serving::ServerOptions {
    Kind fKind = Kind::Robot;
    bool fMiddleware = true;
    int fSimPort = 0;  ///< a second port with "KVSim" alone; 0 for none
    std::uint64_t fSeed = 0;
    Load fLoad;             ///< replaces the values of its kind if it has keys
    bool fVideo = true;     ///< cameras
    bool fStamp = false;    ///< drawn pictures show the number and time of their frames
    bool fHostile = false;  ///< also serves values with which viewers must cope
    Replay fReplay;
};

using ParsedOptions = serving::ParsedOptions<Options>;

/**
 * Parses the command line.
 *
 * @param arguments without the program's name
 * @param output stream for --help, with status 0
 * @param errors stream for errors, with status 2
 */
ParsedOptions parseOptions(const std::vector<std::string>& arguments, std::ostream& output,
                           std::ostream& errors);

}  // namespace robot

#endif
