#ifndef OBVISTA_BRIDGE_ROS2_DOMAIN_SEARCH_H
#define OBVISTA_BRIDGE_ROS2_DOMAIN_SEARCH_H

#include "ros2/node_info.h"

#include <atomic>
#include <map>
#include <set>
#include <sockets/interfaces.h>
#include <string>
#include <vector>

namespace bridge {

/**
 * Finds out why nobody is met in a domain: listens to the announcements of all domains on all
 * network interfaces, and tests whether this computer can multicast. Used by one thread at a time,
 * except stop().
 */
class DomainSearch {
  public:
    /** @param interface name, or empty for the one that Cyclone DDS chooses
     *  @param own the bridge's participant, whose announcements do not count */
    DomainSearch(int domain, std::string interface, const Guid& own);

    /**
     * Listens until something is heard, or for 4 s: programs of ROS 2 announce themselves every
     * 3 s. What was heard in earlier runs counts, too.
     *
     * @return the probable cause and what to do, in sentences for the user; the reason if it cannot
     *         be found out
     */
    std::string run();

    /** Ends a run early, and all later ones; called from any thread. */
    void stop() { fIsStopped = true; }

  private:
    std::string xFindCause();
    void xListen(const std::vector<sockets::Interface>& interfaces);
    void xNote(int domain, const sockets::Socket& socket,
               const std::vector<sockets::Interface>& interfaces);
    bool xCanMulticast(const std::vector<sockets::Interface>& interfaces) const;

    const int fDomain;
    const std::string fInterface;
    const Guid fOwn;
    std::atomic<bool> fIsStopped{false};
    int fFailures;  // to multicast, in a row; one is enough before the first success
    std::map<int, std::set<std::string>> fHeard;  // names of interfaces, by the domain
};

}  // namespace bridge

#endif
