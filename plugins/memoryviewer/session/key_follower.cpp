#include "session/key_follower.h"

#include "session/key_store.h"
#include "session/memory_link.h"
#include "view/key_curves.h"

#include <utility>

namespace memoryviewer {

KeyFollower::KeyFollower(std::shared_ptr<MemoryLink> link, KeyStore* keys, KeyCurves* curves)
    : fLink(std::move(link)), fKeys(keys), fCurves(curves) {
}

void KeyFollower::follow(const SubscriptionNeeds& needs, int rate) {
    fIsFollowing = needs.fIsSeen && !needs.fIsPaused;
    fCurves->setFollowing(fIsFollowing);
    const std::vector<std::uint32_t> newlyPlotted = xNewlyPlotted(needs);
    xFollowEveryChange(needs);
    fCurves->begin(newlyPlotted);
    fPlan = planSubscription(needs);
    fKeys->setFollowRates(fPlan, rate, MemoryLink::a_slowRate);
    fLink->follow(fPlan, rate);
}

/** Those that the robot was asked for already; it sends the present values of all others. */
std::vector<std::uint32_t> KeyFollower::xNewlyPlotted(const SubscriptionNeeds& needs) const {
    std::vector<std::uint32_t> ids;
    for (const std::uint32_t id : needs.fPlotted) {
        if (fPlan.contains(id) && fOfEveryChange.count(id) == 0) {
            ids.push_back(id);
        }
    }
    return ids;
}

/** Of other keys the feed keeps the newest value only. */
void KeyFollower::xFollowEveryChange(const SubscriptionNeeds& needs) {
    std::unordered_set<std::uint32_t> ids(needs.fRecorded.begin(), needs.fRecorded.end());
    if (fIsFollowing) {
        ids.insert(needs.fPlotted.begin(), needs.fPlotted.end());
    }
    if (ids != fOfEveryChange) {
        fOfEveryChange = ids;
        fLink->feed().setFollowed(std::move(ids));
    }
}

}  // namespace memoryviewer
