#ifndef OBVISTA_MEMORYVIEWER_KEY_FOLLOWER_H
#define OBVISTA_MEMORYVIEWER_KEY_FOLLOWER_H

#include "session/subscription_planner.h"

#include <cstdint>
#include <memory>
#include <unordered_set>
#include <vector>

namespace memoryviewer {

class KeyCurves;
class KeyStore;
class MemoryLink;

/** Has the robot send what is needed of its keys, and nothing else. Used on the GUI thread. */
class KeyFollower {
  public:
    /** @param keys, curves outlive this; they are told when the values that they get end */
    KeyFollower(std::shared_ptr<MemoryLink> link, KeyStore* keys, KeyCurves* curves);

    /**
     * Asks the robot for what is needed now; cheap when that is what it was.
     *
     * @param rate updates a second
     */
    void follow(const SubscriptionNeeds& needs, int rate);

    /** Whether what the user sees is live: seen and not paused. */
    bool isFollowing() const { return fIsFollowing; }

  private:
    void xFollowEveryChange(const SubscriptionNeeds& needs);
    std::vector<std::uint32_t> xNewlyPlotted(const SubscriptionNeeds& needs) const;

    const std::shared_ptr<MemoryLink> fLink;
    KeyStore* fKeys;
    KeyCurves* fCurves;
    std::unordered_set<std::uint32_t> fOfEveryChange;
    SubscriptionPlan fPlan;
    bool fIsFollowing = false;
};

}  // namespace memoryviewer

#endif
