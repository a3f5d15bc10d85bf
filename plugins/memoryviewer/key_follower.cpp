#include "key_follower.h"

#include "key_curves.h"
#include "key_store.h"
#include "memory_link.h"

#include <utility>

namespace memoryviewer {

KeyFollower::KeyFollower(std::shared_ptr<MemoryLink> link, KeyStore* keys, KeyCurves* curves)
    : fLink(std::move(link)), fKeys(keys), fCurves(curves) {
}

void KeyFollower::follow(const SubscriptionNeeds& needs, int rate) {
    const bool wasFollowing = std::exchange(fIsFollowing, needs.fIsSeen && !needs.fIsPaused);
    if (wasFollowing && !fIsFollowing) {
        fKeys->resetRates();
    }
    fCurves->setFollowing(fIsFollowing);
    xFollowEveryChange(needs);
    fLink->follow(planSubscription(needs), rate);
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
