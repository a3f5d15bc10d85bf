#include "doctor/checks.h"
#include "failure.h"
#include "robot_link.h"

namespace robaxi_tool {

namespace {

const Finding a_noAddress = {Verdict::Skipped, "The host's address is not known.", {}};

std::string listed(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

std::string placeOf(const Endpoint& endpoint) {
    return joined(endpoint.fHost, endpoint.fPort);
}

/** Whether the error says that not even the port was reached. */
bool isUnreached(const KVError& error) {
    switch (error.cause()) {
        case KVError::Cause::NameNotFound:
        case KVError::Cause::NoRoute:
        case KVError::Cause::Refused:
        case KVError::Cause::TimedOut:
            return true;
        default:
            return false;
    }
}

bool isOfAccess(const KVError& error) {
    return error.cause() == KVError::Cause::NotAuthorised ||
           error.cause() == KVError::Cause::NotTrusted || error.cause() == KVError::Cause::TooMany;
}

/** The library's sentences: what is wrong, and behind it what to do. */
Finding split(const KVError& error) {
    const std::string text = error.toString();
    const std::size_t end = text.find(". ");
    if (end == std::string::npos) {
        return {Verdict::Problem, text, {}};
    }
    return {Verdict::Problem, text.substr(0, end + 1), text.substr(end + 2)};
}

Finding unreached(const Endpoint& endpoint, const KVError& error) {
    const std::string place = placeOf(endpoint);
    switch (error.cause()) {
        case KVError::Cause::Refused:
            return {Verdict::Problem, "The port is closed: nothing listens on " + place + '.',
                    "Start the middleware on the robot. 'robaxi list' shows the port that it "
                    "announces; another one is given as HOST:PORT."};
        case KVError::Cause::NoRoute:
            return {Verdict::Problem, "No route leads to " + place + '.',
                    "Check that this computer is on the robot's network."};
        case KVError::Cause::TimedOut:
            return {Verdict::Problem, "No answer comes from " + place + '.',
                    "Check that the robot is switched on, and that no firewall, of the robot or on "
                    "the way, stops the port."};
        default:
            return {Verdict::Problem, error.toString(), {}};
    }
}

}  // namespace

Finding checkHostName(Examination& examination) {
    try {
        examination.fEndpoint =
            findHost(*examination.fTarget, examination.fTimeout, examination.fInterruption);
    } catch (const Failure&) {
        return {Verdict::Problem,
                "The name " + examination.fTarget->fHost +
                    " does not resolve, and nobody announces it.",
                "Check the spelling with 'robaxi list', and that the robot is switched on and on "
                "this network; or use its address."};
    }
    const std::string& host = examination.fEndpoint->fHost;
    if (isAddress(host)) {
        examination.fAddresses = {host};
        return {Verdict::Good, host + " is an address and needs no look-up.", {}};
    }
    examination.fAddresses = addressesOf(host);
    if (examination.fAddresses.empty()) {
        return {Verdict::Problem, "The name " + host + " is announced, but does not resolve.",
                "See the check 'names'; or use the robot's address."};
    }
    return {Verdict::Good, host + " is " + listed(examination.fAddresses) + '.', {}};
}

Finding checkAnnounced(Examination& examination) {
    if (!examination.fEndpoint) {
        return a_noAddress;
    }
    const AnnouncedHost* const host = examination.announcement();
    if (host == nullptr) {
        return {Verdict::Note,
                examination.fTarget->fHost + " does not announce itself, so no list shows it.",
                "Connect by its address, or let the robot announce \"_robax._tcp\" and "
                "\"_robaxi._tcp\"."};
    }
    const std::string kind = host->isRobot() ? "a robot" : "a computer";
    if (host->ports().empty()) {
        return {Verdict::Problem,
                host->name() + " is announced as " + kind + ", but without the middleware.",
                "Start the middleware on the robot."};
    }
    return {Verdict::Good, host->name() + " is announced as " + kind + " with the middleware.", {}};
}

Finding checkPort(Examination& examination) {
    if (!examination.fEndpoint || examination.fAddresses.empty()) {
        return a_noAddress;
    }
    const Endpoint& endpoint = *examination.fEndpoint;
    try {
        KVConnection::open(makeBroker(loadSettings(), endpoint), endpoint.reachableHost(),
                           endpoint.fPort, examination.fTimeout);
        examination.fIsConnected = true;
    } catch (const KVError& error) {
        examination.fConnectError = error;
        if (isUnreached(error)) {
            return unreached(endpoint, error);
        }
    }
    return {Verdict::Good, "Something listens on " + placeOf(endpoint) + '.', {}};
}

Finding checkProtocol(Examination& examination) {
    if (examination.fIsConnected) {
        return {Verdict::Good, "It speaks our version of the Robaxi protocol.", {}};
    }
    if (!examination.fConnectError || isUnreached(*examination.fConnectError)) {
        return {Verdict::Skipped, "There is no connection.", {}};
    }
    const std::string place = placeOf(*examination.fEndpoint);
    switch (examination.fConnectError->cause()) {
        case KVError::Cause::ProtocolVersion:
            return {Verdict::Problem,
                    "The versions do not match: what listens on " + place +
                        " speaks another version of the Robaxi protocol, or another protocol.",
                    "Check the port; bring robot and computer to matching versions."};
        default:
            return isOfAccess(*examination.fConnectError)
                       ? Finding{Verdict::Skipped,
                                 "It does not let us in, so its version is not known.",
                                 {}}
                       : split(*examination.fConnectError);
    }
}

Finding checkAccess(Examination& examination) {
    if (examination.fIsConnected) {
        return {Verdict::Good, "It lets this computer in.", {}};
    }
    if (examination.fConnectError && isOfAccess(*examination.fConnectError)) {
        return split(*examination.fConnectError);
    }
    return {Verdict::Skipped, "There is no connection.", {}};
}

Finding checkSettings(Examination& /*examination*/) {
    try {
        loadSettings();
        return {Verdict::Good, "The settings of the middleware can be used.", {}};
    } catch (const Failure& failure) {
        return {Verdict::Problem, failure.what(),
                "Mend the file or the variable; docs/robaxi.md lists what may stand there."};
    }
}

}  // namespace robaxi_tool
