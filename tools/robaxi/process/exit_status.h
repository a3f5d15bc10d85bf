#ifndef OBVISTA_TOOLS_ROBAXI_PROCESS_EXIT_STATUS_H
#define OBVISTA_TOOLS_ROBAXI_PROCESS_EXIT_STATUS_H

#include <robaxi/kv_error.h>

#include <string>
#include <vector>

namespace robaxi_tool {

/** Exit status of the program. Scripts rely on the numbers, so their meaning never changes. */
enum class ExitStatus {
    Success = 0,
    Problem = 1,
    WrongUsage = 2,
    NotFound = 3,
    Unreachable = 4,
    TimedOut = 5,
    ProtocolVersion = 6,
    NotAuthorised = 7,
    NotOffered = 8,
    RaisedByModule = 9,
    ConnectionLost = 10,
    NoDiscovery = 11,
    CannotWrite = 12,
    Internal = 13,
    BadPicture = 14,
    NotTrusted = 15,
    TooMany = 16,
    BadRecording = 17,
    ReaderGone = 141
};

/** A row of the table of exit codes. */
struct ExitCode {
    std::string fNumber;
    std::string fMeaning;
};

/** Returns the table in the help, which docs/robaxi-tool.md repeats. */
const std::vector<ExitCode>& exitCodes();

ExitStatus exitStatusOf(KVError::Cause cause);

/** Returns the status that a shell reports for a program ended by a signal. */
int exitStatusOfSignal(int signal);

}  // namespace robaxi_tool

#endif
