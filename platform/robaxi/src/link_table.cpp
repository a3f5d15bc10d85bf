#include "link_table.h"

#include "engine.h"

namespace robaxi {

std::shared_ptr<Link> LinkTable::obtain(const std::string& address, int port, Deadline deadline) {
    const Key key(address, port);
    {
        std::unique_lock lock(fMutex);
        xForgetUnused();
        while (true) {
            Slot& slot = fSlots[key];
            std::shared_ptr<Link> link = slot.fLink.lock();
            if (link && !link->loss()) {
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
    return xConnect(key, deadline);
}

std::shared_ptr<Link> LinkTable::xConnect(const Key& key, Deadline deadline) {
    const auto finish = [this, &key](const std::shared_ptr<Link>& link) {
        const std::lock_guard lock(fMutex);
        fSlots[key] = {link, false};
        fChanged.notify_all();
    };
    try {
        auto link = engine().connect(fRuntime, key.first, key.second, deadline);
        finish(link);
        return link;
    } catch (...) {
        finish(nullptr);
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
