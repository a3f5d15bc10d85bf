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
    Note,     ///< worth knowing; not a failure by itself
    Problem,  ///< something will not work
    Skipped   ///< could not be checked, or does not apply
};

/** Result of one check. */
struct Finding {
    Verdict fVerdict = Verdict::Good;
    std::string fText;    ///< one sentence
    std::string fAdvice;  ///< empty if nothing needs to be done
};

std::string nameOf(Verdict verdict);

/** Returns a problem: the first sentence of a text, and the others as the advice. */
Finding problemOf(const std::string& text);

/**
 * Returns the announcement of the host that is examined if nothing further can change the report on
 * it: it is a robot with middleware, its addresses are known, and no other host will be taken for
 * it, except one with the same address. Otherwise returns null.
 */
const AnnouncedHost* completeAnnouncement(const Target& target,
                                          const std::map<std::string, AnnouncedHost>& hosts);

/** Input of the checks, and results of earlier checks for later ones. */
struct Examination {
    explicit Examination(Interruption& interruption) : fInterruption(interruption) {}

    Interruption& fInterruption;
    int fTimeout = 5;               ///< seconds
    std::optional<Target> fTarget;  ///< without it only this computer is examined

    bool fIsAvahiHung = false;                        ///< by checkBus(); asked once
    bool fHeardAnnouncements = false;                 ///< by checkAnnouncements()
    std::map<std::string, AnnouncedHost> fAnnounced;  ///< by checkAnnouncements()
    std::optional<Endpoint> fEndpoint;                ///< by checkHostName()
    std::vector<std::string> fAddresses;              ///< by checkHostName()
    bool fIsConnected = false;                        ///< by checkPort()
    std::string fReachedAddress;                      ///< by checkPort(); of the connection
    std::optional<KVError> fConnectError;             ///< by checkPort()

    /** Queries the system's resolver; returns nothing if it has not answered within fTimeout. */
    std::optional<std::vector<std::string>> lookUp(const std::string& hostName) const;
    /** Returns the announcement of the host, or null. */
    const AnnouncedHost* announcement() const;
};

/** A check: fast, or bounded by the time-out, and without lasting effect. */
struct Check {
    const char* fName;
    bool fNeedsHost;
    Finding (*fRun)(Examination&);
};

/** Returns all checks; later ones depend on earlier ones. */
const std::vector<Check>& allChecks();

/** Checks that a network interface other than loopback is up and has an IPv4 address. */
Finding checkNetwork(Examination&);
/** Checks that an interface supports multicast. */
Finding checkMulticast(Examination&);
/** Checks that there is a route for multicast without a selected interface. */
Finding checkMulticastRoute(Examination&);
/** Checks that no firewall of this computer blocks UDP port 5353. */
Finding checkMdnsPort(Examination&);
/** Checks that the user's settings of the middleware can be used. */
Finding checkSettings(Examination&);
/** Checks that the system bus answers. */
Finding checkBus(Examination&);
/** Checks that the Avahi daemon answers. */
Finding checkDaemon(Examination&);
/** Checks that names of the local network resolve, using this computer's own name. */
Finding checkNames(Examination&);
/** Checks that there are announcements. */
Finding checkAnnouncements(Examination&);

/** Checks that the host is found, and its name resolves. */
Finding checkHostName(Examination&);
/** Checks that the host is announced. */
Finding checkAnnounced(Examination&);
/** Checks that something listens on the host's port. */
Finding checkPort(Examination&);
/** Checks that it uses our version of the protocol. */
Finding checkProtocol(Examination&);
/** Checks that it is the intended robot, and accepts our connection. */
Finding checkAccess(Examination&);
/** Checks that a robot serves its icon. */
Finding checkIcon(Examination&);
/** Checks what a bridge to ROS 2 reports. */
Finding checkRos2(Examination&);

}  // namespace robaxi_tool

#endif
