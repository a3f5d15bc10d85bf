#include "doctor/checks.h"
#include "network/robot_link.h"
#include "process/failure.h"

#include <base/address.h>
#include <base/listed.h>

#include <unistd.h>

namespace robaxi_tool {

namespace {

const Finding a_noAddress = {Verdict::Skipped, "The host's address is not known.", {}};

std::string placeOf(const Endpoint& endpoint) {
    return base::hostAndPort(endpoint.fHost, endpoint.fPort);
}

/** Returns true if the error means that not even the port was reached. */
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
    switch (error.cause()) {
        case KVError::Cause::InvalidArgument:  // settings that cannot be used
        case KVError::Cause::NotAuthorised:
        case KVError::Cause::NotTrusted:
        case KVError::Cause::TooMany:
            return true;
        default:
            return false;
    }
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

/** Returns the first unreadable file for reaching robots; empty if all can be read. */
std::string unreadableFile(const KVSettings& settings) {
    std::vector<KVSettings::Access> accesses{settings.fAccess};
    for (const auto& [robot, access] : settings.fRobots) {
        accesses.push_back(access);
    }
    for (const KVSettings::Access& access : accesses) {
        for (const std::string& file : {access.fUsesTls ? access.fTrust : "", access.fTokenFile}) {
            if (!file.empty() && ::access(file.c_str(), R_OK) != 0) {
                return file;
            }
        }
    }
    return {};
}

}  // namespace

Finding checkHostName(Examination& examination) {
    try {
        examination.fEndpoint =
            findHost(*examination.fTarget, examination.fTimeout, examination.fInterruption);
    } catch (const Failure& failure) {
        const std::string name = "The name " + examination.fTarget->fHost;
        const std::string announcement = examination.fHeardAnnouncements
                                             ? ", and it is not announced."
                                             : ", and announcements could not be received.";
        if (failure.status() == ExitStatus::TimedOut) {
            return {Verdict::Problem, name + " was not resolved in time" + announcement,
                    "Check the DNS servers in /etc/resolv.conf; or use the robot's address."};
        }
        return {Verdict::Problem, name + " does not resolve" + announcement,
                "Check the spelling with 'robaxi list', and that the robot is switched on and on "
                "this network; or use its address."};
    }
    const std::string& host = examination.fEndpoint->fHost;
    if (base::isAddress(host)) {
        examination.fAddresses = {host};
        return {Verdict::Good, host + " is an address and needs no lookup.", {}};
    }
    const auto resolved = examination.lookUp(host);
    if (resolved && !resolved->empty()) {
        examination.fAddresses = *resolved;
    } else {
        examination.fAddresses = examination.fEndpoint->fAddresses;
        const std::string addresses = base::listed(examination.fAddresses);
        const bool isAnnounced = examination.announcement() != nullptr;
        return {Verdict::Problem,
                "The name " + host + (isAnnounced ? " is announced" : " is found on this network") +
                    (addresses.empty() ? "" : (isAnnounced ? " for " : " at ") + addresses) +
                    (resolved ? ", but does not resolve." : ", but was not resolved in time."),
                "See the check 'names'; or use the robot's address."};
    }
    return {Verdict::Good, host + " is " + base::listed(examination.fAddresses) + '.', {}};
}

Finding checkAnnounced(Examination& examination) {
    if (!examination.fEndpoint) {
        return a_noAddress;
    }
    const AnnouncedHost* const host = examination.announcement();
    if (!examination.fHeardAnnouncements) {
        return {Verdict::Skipped, "Announcements could not be received.", {}};
    }
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
        const auto connection =
            KVConnection::open(makeBroker(loadSettings()), endpoint.fHost, endpoint.fPort,
                               examination.fTimeout, endpoint.fAddresses);
        examination.fIsConnected = true;
        examination.fReachedAddress = connection->getAddress();
    } catch (const KVError& error) {
        examination.fConnectError = error;
        if (isUnreached(error)) {
            return unreached(endpoint, error);
        }
        if (error.cause() == KVError::Cause::InvalidArgument) {
            return {Verdict::Skipped, "The settings for this robot cannot be used.", {}};
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
                    "Check the port; install matching versions on the robot and this computer."};
        default:
            return isOfAccess(*examination.fConnectError)
                       ? Finding{Verdict::Skipped,
                                 "It refuses access, so its version is not known.",
                                 {}}
                       : problemOf(examination.fConnectError->toString());
    }
}

Finding checkAccess(Examination& examination) {
    if (examination.fIsConnected) {
        return {Verdict::Good, "It accepts this computer.", {}};
    }
    if (examination.fConnectError && isOfAccess(*examination.fConnectError)) {
        return problemOf(examination.fConnectError->toString());
    }
    return {Verdict::Skipped, "There is no connection.", {}};
}

Finding checkSettings(Examination& /*examination*/) {
    try {
        const std::string unreadable = unreadableFile(loadSettings());
        if (!unreadable.empty()) {
            return {
                Verdict::Problem,
                "The settings name a file that cannot be read: " + unreadable + '.',
                "Check robaxi.conf and the environment variables ROBAXI_TRUST and ROBAXI_TOKEN."};
        }
        return {Verdict::Good, "The settings of the middleware can be used.", {}};
    } catch (const Failure& failure) {
        return {Verdict::Problem, failure.what(),
                "Fix the file or the variable; docs/settings.md lists the allowed values."};
    }
}

}  // namespace robaxi_tool
