#include "memory_link.h"

#include <robaxi/kv_connection.h>

#include <algorithm>
#include <vector>

namespace memoryviewer {

namespace {

constexpr char a_module[] = "KVMemory";
/** Updates a second; more could not be told apart on a screen. */
constexpr double a_rate = 20;

/**
 * The links that are open, to be closed when the process exits.
 *
 * A process may exit with viewers open: exit() is called while windows are shown, or Qt deletes the
 * plugin object after main(). What C++ destroys at exit goes in the reverse order of its
 * construction, so this object, made after the first link, goes before everything that a link
 * needs.
 */
class OpenLinks {
  public:
    static OpenLinks& instance() {
        static OpenLinks links;
        return links;
    }

    OpenLinks() = default;
    ~OpenLinks() {
        for (const std::weak_ptr<MemoryLink>& weakLink : fLinks) {
            if (const std::shared_ptr<MemoryLink> link = weakLink.lock()) {
                link->feed().setNotice(nullptr);
                link->close();
            }
        }
    }
    OpenLinks(const OpenLinks&) = delete;
    OpenLinks& operator=(const OpenLinks&) = delete;

    void add(const std::shared_ptr<MemoryLink>& link) {
        fLinks.erase(std::remove_if(fLinks.begin(), fLinks.end(),
                                    [](const auto& weakLink) { return weakLink.expired(); }),
                     fLinks.end());
        fLinks.push_back(link);
    }

  private:
    std::vector<std::weak_ptr<MemoryLink>> fLinks;
};

}  // namespace

std::shared_ptr<MemoryLink> MemoryLink::open(const boost::shared_ptr<KVBroker>& broker,
                                             const std::string& ip, int port, double timeOut) {
    std::shared_ptr<MemoryLink> link(new MemoryLink(broker, ip, port, timeOut));
    OpenLinks::instance().add(link);
    return link;
}

MemoryLink::MemoryLink(const boost::shared_ptr<KVBroker>& broker, const std::string& ip, int port,
                       double timeOut)
    : fAddress(ip), fPort(port), fConnection(KVConnection::open(broker, ip, port, timeOut)) {
    fRobotName = fConnection->getPeerName();
    fConnection->setLostHandler([this](const KVError& error) { fFeed.reportLost(error); });
    fSubscription = KVSubscription::start(fConnection, a_module, KVSubscription::Selection::AllKeys,
                                          a_rate, &fFeed);
}

MemoryLink::~MemoryLink() {
    close();
}

void MemoryLink::close() {
    if (isClosed()) {
        return;
    }
    fSubscription.reset();
    fConnection.reset();
    fFeed.reportClosed();
}

}  // namespace memoryviewer
