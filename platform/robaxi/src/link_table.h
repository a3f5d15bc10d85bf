#ifndef ROBAXI_LINK_TABLE_H
#define ROBAXI_LINK_TABLE_H

#include "deadline.h"
#include "runtime.h"

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace robaxi {

class Link;
struct Place;

/** The links of one broker: one for each host and port, as long as it is in use. */
class LinkTable {
  public:
    explicit LinkTable(std::shared_ptr<Runtime> runtime) : fRuntime(std::move(runtime)) {}
    LinkTable(const LinkTable&) = delete;
    LinkTable& operator=(const LinkTable&) = delete;

    /**
     * Returns the existing link to a host and port if it is not lost, and is at one of the
     * addresses if the place has any, or at the host if that is an address; otherwise a new one. A
     * caller that arrives while another one is connecting waits for the result, and tries again if
     * the other's time-out was shorter.
     *
     * @throws Failure if there is none in time
     */
    std::shared_ptr<Link> obtain(const Place& place, Deadline deadline);

  private:
    struct Slot {
        std::weak_ptr<Link> fLink;
        bool fIsConnecting = false;
    };
    using Key = std::pair<std::string, int>;

    std::shared_ptr<Link> xConnect(const Place& place, Deadline deadline);
    void xForgetUnused();

    const std::shared_ptr<Runtime> fRuntime;
    std::mutex fMutex;
    std::condition_variable fChanged;
    std::map<Key, Slot> fSlots;
};

}  // namespace robaxi

#endif
