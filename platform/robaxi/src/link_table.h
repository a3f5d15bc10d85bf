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

/** The links of one broker: one for an address and port, as long as somebody uses it. */
class LinkTable {
  public:
    explicit LinkTable(std::shared_ptr<Runtime> runtime) : fRuntime(std::move(runtime)) {}
    LinkTable(const LinkTable&) = delete;
    LinkTable& operator=(const LinkTable&) = delete;

    /**
     * The link to an address and port: the one there is when it is not lost, else a new one. Who
     * asks while another connects waits for the outcome, and tries for himself when the other's
     * time-out was shorter than his.
     *
     * @throws Failure when there is none in time
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
