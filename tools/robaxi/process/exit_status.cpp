#include "process/exit_status.h"

namespace robaxi_tool {

const std::vector<ExitCode>& exitCodes() {
    static const std::vector<ExitCode> codes = {
        {"0", "success; for 'conform', 'doctor' and 'recording check': no problem found"},
        {"1", "'conform', 'doctor' or 'recording check' found a problem"},
        {"2", "wrong usage, or settings (robaxi.conf) that cannot be used"},
        {"3", "no robot or computer has that name"},
        {"4", "nothing listens at the address, or there is no route to it"},
        {"5", "no answer in time"},
        {"6", "the robot speaks another version of the protocol"},
        {"7", "the robot refuses access"},
        {"8", "no such module, method, key or camera, or arguments that do not fit"},
        {"9", "the method ran and reported an error"},
        {"10", "the connection was lost"},
        {"11", "no announcements: no system bus, or no Avahi daemon that answers"},
        {"12", "the results could not be written"},
        {"13", "any other error"},
        {"14", "the camera's picture is damaged or of an unknown format"},
        {"15", "the robot cannot be authenticated: its certificate is not trusted"},
        {"16", "a limit of the robot is reached: connections, subscriptions, cameras"},
        {"17", "the recording cannot be read"},
        {"129, 130, 143", "ended by SIGHUP, SIGINT (Ctrl-C), SIGTERM"},
        {"141", "the reader of the output has closed it"},
    };
    return codes;
}

ExitStatus exitStatusOf(KVError::Cause cause) {
    switch (cause) {
        case KVError::Cause::NameNotFound:
            return ExitStatus::NotFound;
        case KVError::Cause::NoRoute:
        case KVError::Cause::Refused:
            return ExitStatus::Unreachable;
        case KVError::Cause::TimedOut:
            return ExitStatus::TimedOut;
        case KVError::Cause::ProtocolVersion:
            return ExitStatus::ProtocolVersion;
        case KVError::Cause::NotAuthorised:
            return ExitStatus::NotAuthorised;
        case KVError::Cause::InvalidArgument:
        case KVError::Cause::NoSuchModule:
        case KVError::Cause::NoSuchMethod:
        case KVError::Cause::NoSuchStream:
        case KVError::Cause::WrongArguments:
        case KVError::Cause::WrongType:
        case KVError::Cause::TooLarge:
            return ExitStatus::NotOffered;
        case KVError::Cause::NotTrusted:
            return ExitStatus::NotTrusted;
        case KVError::Cause::TooMany:
            return ExitStatus::TooMany;
        case KVError::Cause::RaisedByModule:
            return ExitStatus::RaisedByModule;
        case KVError::Cause::ConnectionLost:
            return ExitStatus::ConnectionLost;
        default:
            return ExitStatus::Internal;
    }
}

int exitStatusOfSignal(int signal) {
    return 128 + signal;
}

}  // namespace robaxi_tool
