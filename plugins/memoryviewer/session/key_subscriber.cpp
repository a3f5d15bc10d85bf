#include "session/key_subscriber.h"

#include "session/key_store.h"
#include "session/memory_link.h"
#include "view/key_curves.h"

#include <utility>

namespace memoryviewer {

KeySubscriber::KeySubscriber(std::shared_ptr<MemoryLink> link, KeyStore* keys, KeyCurves* curves)
    : fLink(std::move(link)), fKeys(keys), fCurves(curves) {
}

void KeySubscriber::subscribe(const SubscriptionNeeds& needs, int rate) {
    fIsUpdating = needs.fIsSeen && !needs.fIsPaused;
    fCurves->setUpdating(fIsUpdating);
    const std::vector<std::uint32_t> newlyPlotted = xNewlyPlotted(needs);
    xKeepEveryChange(needs);
    fCurves->begin(newlyPlotted);
    fPlan = planSubscription(needs);
    fKeys->setUpdateRates(fPlan, rate, MemoryLink::a_slowRate);
    fLink->subscribe(fPlan, rate);
}

/** Returns those that were already subscribed; the robot sends the current values of all others. */
std::vector<std::uint32_t> KeySubscriber::xNewlyPlotted(const SubscriptionNeeds& needs) const {
    std::vector<std::uint32_t> ids;
    for (const std::uint32_t id : needs.fPlotted) {
        if (fPlan.contains(id) && fOfEveryChange.count(id) == 0) {
            ids.push_back(id);
        }
    }
    return ids;
}

/** For other keys the feed keeps only the newest value. */
void KeySubscriber::xKeepEveryChange(const SubscriptionNeeds& needs) {
    std::unordered_set<std::uint32_t> ids(needs.fRecorded.begin(), needs.fRecorded.end());
    if (fIsUpdating) {
        ids.insert(needs.fPlotted.begin(), needs.fPlotted.end());
    }
    if (ids != fOfEveryChange) {
        fOfEveryChange = ids;
        fLink->feed().keepEveryChangeOf(std::move(ids));
    }
}

}  // namespace memoryviewer
