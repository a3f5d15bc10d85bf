#ifndef OBVISTA_ROBOT_OPTIONS_H
#define OBVISTA_ROBOT_OPTIONS_H

#include "memory/load_memory.h"

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace robot {

enum class Kind { Robot, Computer };

/** How the middleware is secured; what is empty is left to the user's configuration. */
struct Security {
    std::string fCertificate;  ///< PEM file
    std::string fKey;          ///< PEM file
    std::string fTokenFile;
    bool fAllowsPlainToken = false;
};

/** What the command line says. */
struct Options {
    Kind fKind = Kind::Robot;
    std::string fName;
    std::string fAddress;
    int fPort = 0;
    bool fMiddleware = true;
    int fHttpPort = 0;  ///< 0 for no HTTP
    std::string fIcon;  ///< file; empty for the one that comes with the program
    bool fAnnounce = true;
    Security fSecurity;
    int fSimPort = 0;  ///< a second port with "KVSim" alone; 0 for none
    std::uint64_t fSeed = 0;
    Load fLoad;             ///< instead of the values of its kind, when it has keys
    bool fVideo = true;     ///< cameras
    bool fHostile = false;  ///< values that viewers must bear, too
};

/** The command line was read: either the program is to run, or to end with a status. */
struct ParsedOptions {
    std::optional<Options> fOptions;
    int fExitStatus = 0;
};

/**
 * Reads the command line.
 *
 * @param arguments without the program's name
 * @param output where --help is written, with status 0
 * @param errors where a mistake is written, with status 2
 */
ParsedOptions parseOptions(const std::vector<std::string>& arguments, std::ostream& output,
                           std::ostream& errors);

}  // namespace robot

#endif
