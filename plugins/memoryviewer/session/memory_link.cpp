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
    : RobotLink(broker, ip, port, timeOut), fRate(a_firstRate) {
    MemoryLink::restart();
}

MemoryLink::~MemoryLink() {
    close();
}

void MemoryLink::stop() {
    fHistory.reset();
    fSlow.reset();
    fFast.reset();
}

void MemoryLink::restart() {
    fHistory = std::make_unique<HistoryClient>(connection(), notice());
    xStart();
}

void MemoryLink::subscribeAgain() {
    if (fFast) {
        xStart();
    }
}

void MemoryLink::xStart() {
    fSlow.reset();
    fSent = {};
    fFast = xSubscribe(fRate, fFeed.callbacks());
}

void MemoryLink::subscribe(const SubscriptionPlan& plan, int rate) {
    if (!fFast) {
        return;
    }
    if (rate != fRate) {
        fRate = rate;
        fFast->setRate(rate);
    }
    SubscriptionPlan sent{fFeed.robotsIdentifiers(plan.fFast), fFeed.robotsIdentifiers(plan.fSlow)};
    if (sent.fFast != fSent.fFast) {
        fFast->setKeys(sent.fFast);
    }
    if (sent.fSlow.empty()) {
        fSlow.reset();
    } else if (sent.fSlow != fSent.fSlow || !fSlow) {
        if (!fSlow) {
            KVSubscription::Callbacks values;  // the feed already has the keys
            values.fValuesChanged = fFeed.callbacks().fValuesChanged;
            fSlow = xSubscribe(a_slowRate, std::move(values));
        }
        fSlow->setKeys(sent.fSlow);
    }
    fSent = std::move(sent);
}

double MemoryLink::roundTrip() const {
    return fFast && silence() == 0 ? connection()->getRoundTrip() : -1;
}

std::unique_ptr<ValueWriter> MemoryLink::makeWriter() const {
    return std::make_unique<RobotWriter>(connection(), a_writeTimeOut);
}

std::shared_ptr<KVSubscription> MemoryLink::xSubscribe(double rate,
                                                       KVSubscription::Callbacks callbacks) {
    return KVSubscription::start(connection(), a_module, KVSubscription::Selection::ChosenKeys,
                                 rate, std::move(callbacks));
}

}  // namespace memoryviewer
