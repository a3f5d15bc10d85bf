#ifndef OBVISTA_TOOLS_ROBAXI_COMMANDS_COMMAND_H
#define OBVISTA_TOOLS_ROBAXI_COMMANDS_COMMAND_H

#include "command_line/options.h"
#include "process/console.h"
#include "process/exit_status.h"
#include "process/interruption.h"

#include <cstddef>
#include <string>
#include <vector>

namespace robaxi_tool {

/** The environment of a command. */
struct Surroundings {
    Console& fConsole;
    Interruption& fInterruption;
};

/** The words of a command besides its options. */
struct Words {
    static constexpr std::size_t a_anyNumber = static_cast<std::size_t>(-1);

    std::string fSynopsis;  ///< for instance "HOST KEY..."
    std::size_t fAtLeast;
    std::size_t fAtMost;
};

/** A sub-command. An object is used for one run. */
class Command {
  public:
    Command() = default;
    virtual ~Command() = default;
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    virtual std::string name() const = 0;
    /** Returns its purpose in a few words without a full stop. */
    virtual std::string summary() const = 0;
    virtual Words words() const = 0;
    /** Returns the help below the summary: whole lines. */
    virtual std::string explanation() const = 0;
    /** Adds its options, bound to its members. */
    virtual void addOptions(Options& options) = 0;

    /**
     * Runs the command.
     *
     * @param given as many words as words() specifies
     * @throws KVError, Failure, Interrupted, ReaderGone
     */
    virtual ExitStatus run(const std::vector<std::string>& given, Surroundings& surroundings) = 0;
};

}  // namespace robaxi_tool

#endif
