#ifndef OBVISTA_MEMORYVIEWER_KEY_SUBSCRIBER_H
#define OBVISTA_MEMORYVIEWER_KEY_SUBSCRIBER_H

#include "session/subscription_planner.h"

#include <cstdint>
#include <memory>
#include <unordered_set>
#include <vector>

namespace memoryviewer {

class KeyCurves;
class KeyStore;
class MemoryLink;

/** Subscribes to what is needed of the robot's keys, and nothing else. Used on the GUI thread. */
class KeySubscriber {
  public:
    /** @param keys, curves must outlive this object; they are notified when their values end */
    KeySubscriber(std::shared_ptr<MemoryLink> link, KeyStore* keys, KeyCurves* curves);

    /**
     * Subscribes to the needed keys; cheap if they have not changed.
     *
     * @param rate updates a second
     */
    void subscribe(const SubscriptionNeeds& needs, int rate);

    /** Returns true if what the user sees is kept up to date: it is seen and not paused. */
    bool isUpdating() const { return fIsUpdating; }

  private:
    void xKeepEveryChange(const SubscriptionNeeds& needs);
    std::vector<std::uint32_t> xNewlyPlotted(const SubscriptionNeeds& needs) const;

    const std::shared_ptr<MemoryLink> fLink;
    KeyStore* fKeys;
    KeyCurves* fCurves;
    std::unordered_set<std::uint32_t> fOfEveryChange;
    SubscriptionPlan fPlan;
    bool fIsUpdating = false;
};

}  // namespace memoryviewer

#endif
