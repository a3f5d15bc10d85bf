#include "memory_link.h"

#include <robaxi/kv_connection.h>

namespace memoryviewer {

namespace {

constexpr char a_module[] = "KVMemory";
/** Updates a second; more could not be told apart on a screen. */
constexpr double a_rate = 20;

}  // namespace

std::shared_ptr<MemoryLink> MemoryLink::open(const boost::shared_ptr<KVBroker>& broker,
                                             const std::string& ip, int port, double timeOut) {
    std::shared_ptr<MemoryLink> link(new MemoryLink(broker, ip, port, timeOut));
    closeAtExit(link);
    return link;
}

MemoryLink::MemoryLink(const boost::shared_ptr<KVBroker>& broker, const std::string& ip, int port,
                       double timeOut)
    : RobotLink(broker, ip, port, timeOut) {
    fSubscription = KVSubscription::start(connection(), a_module,
                                          KVSubscription::Selection::AllKeys, a_rate, &fFeed);
    connection()->setLostHandler([this](const KVError& error) { fFeed.reportLost(error); });
}

MemoryLink::~MemoryLink() {
    close();
}

void MemoryLink::xStop() {
    connection()->setLostHandler(nullptr);
    fSubscription.reset();
}

void MemoryLink::xTellClosed() {
    fFeed.reportClosed();
}

void MemoryLink::xSilence() {
    fFeed.setNotice(nullptr);
}

}  // namespace memoryviewer
