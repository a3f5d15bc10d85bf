#include "link_table.h"

#include "engine.h"

#include <base/address.h>

#include <algorithm>

namespace robaxi {

namespace {

/** Returns true if a new link could be at the same address; at which one a name leaves open. */
bool isAt(const Link& link, const Place& place) {
    if (place.fAddresses.empty()) {
        return !base::isAddress(place.fHost) || link.isAt(place.fHost);
    }
    return std::any_of(place.fAddresses.begin(), place.fAddresses.end(),
                       [&link](const std::string& address) { return link.isAt(address); });
}

}  // namespace

std::shared_ptr<Link> LinkTable::obtain(const Place& place, Deadline deadline) {
    const Key key(place.fHost, place.fPort);
    {
        std::unique_lock lock(fMutex);
        xForgetUnused();
        while (true) {
            Slot& slot = fSlots[key];
            std::shared_ptr<Link> link = slot.fLink.lock();
            if (link && !link->loss() && isAt(*link, place)) {
                return link;
            }
            if (!slot.fIsConnecting) {
                slot.fIsConnecting = true;
                break;
            }
            if (fChanged.wait_until(lock, deadline) == std::cv_status::timeout) {
                throw Failure{KVError::Cause::TimedOut, {}};
            }
        }
    }
    return xConnect(place, deadline);
}

std::shared_ptr<Link> LinkTable::xConnect(const Place& place, Deadline deadline) {
    const Key key(place.fHost, place.fPort);
    try {
        auto link = engine().connect(fRuntime, place, deadline);
        const std::lock_guard lock(fMutex);
        fSlots[key] = {link, false};
        fChanged.notify_all();
        return link;
    } catch (...) {
        // A link at another address of the host stays for those that look for it there.
        const std::lock_guard lock(fMutex);
        fSlots[key].fIsConnecting = false;
        fChanged.notify_all();
        throw;
    }
}

void LinkTable::xForgetUnused() {
    for (auto each = fSlots.begin(); each != fSlots.end();) {
        const bool unused = !each->second.fIsConnecting && each->second.fLink.expired();
        each = unused ? fSlots.erase(each) : std::next(each);
    }
}

}  // namespace robaxi
