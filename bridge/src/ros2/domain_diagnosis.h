#ifndef OBVISTA_BRIDGE_ROS2_DOMAIN_DIAGNOSIS_H
#define OBVISTA_BRIDGE_ROS2_DOMAIN_DIAGNOSIS_H

#include "ros2/domain_search.h"
#include "ros2/event_loop.h"
#include "ros2/node_info.h"

#include <base/lookups.h>

#include <functional>
#include <memory>
#include <string>

namespace bridge {

/** The reason why nobody is met in a domain, searched for in the background. Used on the thread of
 *  the loop. */
class DomainDiagnosis {
  public:
    /** @param interface name, or empty for the one that Cyclone DDS chooses
     *  @param own the bridge's participant
     *  @param lookups their destruction ends a search that runs
     *  @param changed called when the problem has changed */
    DomainDiagnosis(int domain, std::string interface, const Guid& own, EventLoop& loop,
                    base::Lookups& lookups, std::function<void()> changed);

    /** Starts a search unless one runs; called again and again while nobody is in the domain. */
    void search();

    /** Ends the search, and forgets the problem: somebody has been found, or the program ends. */
    void stop();

    /** Returns what the last search has found, for the user; empty while nothing is known. */
    const std::string& problem() const { return fProblem; }

  private:
    void xSet(const std::string& problem);

    const int fDomain;
    const std::string fInterface;
    const Guid fOwn;
    EventLoop& fLoop;
    base::Lookups& fLookups;
    const std::function<void()> fHasChanged;
    std::shared_ptr<DomainSearch> fSearch;  // from search() to stop()
    bool fIsSearching = false;
    std::string fProblem;
};

}  // namespace bridge

#endif
