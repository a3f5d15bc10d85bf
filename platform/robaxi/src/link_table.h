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

/** The links of one broker: one for each address and port, as long as it is in use. */
class LinkTable {
  public:
    explicit LinkTable(std::shared_ptr<Runtime> runtime) : fRuntime(std::move(runtime)) {}
    LinkTable(const LinkTable&) = delete;
    LinkTable& operator=(const LinkTable&) = delete;

    /**
     * Returns the existing link to an address and port if it is not lost, otherwise a new one. A
     * caller that arrives while another one is connecting waits for the result, and tries again if
     * the other's time-out was shorter.
     *
     * @throws Failure if there is none in time
     */
    std::shared_ptr<Link> obtain(const std::string& address, int port, Deadline deadline);

  private:
    struct Slot {
        std::weak_ptr<Link> fLink;
        bool fIsConnecting = false;
    };
    using Key = std::pair<std::string, int>;

    std::shared_ptr<Link> xConnect(const Key& key, Deadline deadline);
    void xForgetUnused();

    const std::shared_ptr<Runtime> fRuntime;
    std::mutex fMutex;
    std::condition_variable fChanged;
    std::map<Key, Slot> fSlots;
};

}  // namespace robaxi

#endif
