#include "session/memory_link.h"

#include "editing/robot_writer.h"

#include <robaxi/kv_connection.h>

#include <memory>
#include <utility>

namespace memoryviewer {

namespace {

constexpr char a_module[] = "KVMemory";
/** Updates a second until the user's rate is known. */
constexpr int a_firstRate = 10;
constexpr int a_writeTimeOut = 3;

}  // namespace

MemoryLink::MemoryLink(const boost::shared_ptr<KVBroker>& broker, const std::string& ip, int port,
                       double timeOut)
    : RobotLink(broker, ip, port, timeOut), fBroker(broker), fRate(a_firstRate) {
    fFast = xSubscribe(fRate, fFeed.callbacks());
    fHistory = std::make_unique<HistoryClient>(connection(), notice());
}

MemoryLink::~MemoryLink() {
    close();
}

void MemoryLink::stop() {
    fHistory.reset();
    fSlow.reset();
    fFast.reset();
}

void MemoryLink::subscribe(const SubscriptionPlan& plan, int rate) {
    if (isClosed()) {
        return;
    }
    if (rate != fRate) {
        fRate = rate;
        fFast->setRate(rate);
    }
    if (plan.fFast != fPlan.fFast) {
        fFast->setKeys(plan.fFast);
    }
    if (plan.fSlow.empty()) {
        fSlow.reset();
    } else if (plan.fSlow != fPlan.fSlow || !fSlow) {
        if (!fSlow) {
            KVSubscription::Callbacks values;  // the feed already has the keys
            values.fValuesChanged = fFeed.callbacks().fValuesChanged;
            fSlow = xSubscribe(a_slowRate, std::move(values));
        }
        fSlow->setKeys(plan.fSlow);
    }
    fPlan = plan;
}

double MemoryLink::roundTrip() const {
    return isClosed() ? -1 : connection()->getRoundTrip();
}

std::unique_ptr<ValueWriter> MemoryLink::makeWriter() const {
    return std::make_unique<RobotWriter>(fBroker, address(), port(), a_writeTimeOut);
}

std::shared_ptr<KVSubscription> MemoryLink::xSubscribe(double rate,
                                                       KVSubscription::Callbacks callbacks) {
    return KVSubscription::start(connection(), a_module, KVSubscription::Selection::ChosenKeys,
                                 rate, std::move(callbacks));
}

}  // namespace memoryviewer
