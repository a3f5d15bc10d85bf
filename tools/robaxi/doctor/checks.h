#ifndef OBVISTA_TOOLS_ROBAXI_DOCTOR_CHECKS_H
#define OBVISTA_TOOLS_ROBAXI_DOCTOR_CHECKS_H

#include "network/announced_hosts.h"
#include "network/host_search.h"
#include "network/target.h"

#include <robaxi/kv_error.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace robaxi_tool {

enum class Verdict {
    Good,
    Note,     ///< worth knowing; nothing fails because of it alone
    Problem,  ///< something will not work
    Skipped   ///< could not be looked at, or does not apply
};

/** What one check of the doctor found. */
struct Finding {
    Verdict fVerdict = Verdict::Good;
    std::string fText;    ///< one sentence
    std::string fAdvice;  ///< what to do; empty when there is nothing to do
};

std::string nameOf(Verdict verdict);

/** What is examined, and what the checks before have found out for those after them. */
struct Examination {
    explicit Examination(Interruption& interruption) : fInterruption(interruption) {}

    Interruption& fInterruption;
    int fTimeout = 5;               ///< seconds
    std::optional<Target> fTarget;  ///< without one only this computer is examined

    bool fHeardAnnouncements = false;                 ///< by checkAnnouncements()
    std::map<std::string, AnnouncedHost> fAnnounced;  ///< by checkAnnouncements()
    std::optional<Endpoint> fEndpoint;                ///< by checkHostName()
    std::vector<std::string> fAddresses;              ///< by checkHostName()
    bool fIsConnected = false;                        ///< by checkPort()
    std::optional<KVError> fConnectError;             ///< by checkPort()

    /** Asks the system's resolver; nothing if it has not answered within fTimeout. */
    std::optional<std::vector<std::string>> lookUp(const std::string& hostName) const;
    /** The announcement of the host, if there is one. */
    const AnnouncedHost* announcement() const;
};

/** One check: quick, or bounded by the time-out, and without lasting effect. */
struct Check {
    const char* fName;
    bool fNeedsHost;
    Finding (*fRun)(Examination&);
};

/** All of them, in the order in which they build on each other. */
const std::vector<Check>& allChecks();

/** A network interface is up and has an IPv4 address, besides loopback. */
Finding checkNetwork(Examination&);
/** One of them can multicast. */
Finding checkMulticast(Examination&);
/** Multicast without a chosen interface finds a way out. */
Finding checkMulticastRoute(Examination&);
/** No firewall of this computer stands before UDP port 5353. */
Finding checkMdnsPort(Examination&);
/** The user's settings of the middleware can be used. */
Finding checkSettings(Examination&);
/** The system bus answers. */
Finding checkBus(Examination&);
/** The Avahi daemon answers. */
Finding checkDaemon(Examination&);
/** Names of the local network resolve: this computer's own does. */
Finding checkNames(Examination&);
/** Somebody announces itself. */
Finding checkAnnouncements(Examination&);

/** The host is found, and its name resolves. */
Finding checkHostName(Examination&);
/** The host announces itself. */
Finding checkAnnounced(Examination&);
/** Something listens on the host's port. */
Finding checkPort(Examination&);
/** It speaks our version of the protocol. */
Finding checkProtocol(Examination&);
/** It is the robot that it should be, and lets us in. */
Finding checkAccess(Examination&);
/** A robot serves its icon. */
Finding checkIcon(Examination&);

}  // namespace robaxi_tool

#endif
