#ifndef OBVISTA_MEMORYVIEWER_SUBSCRIPTION_PLANNER_H
#define OBVISTA_MEMORYVIEWER_SUBSCRIPTION_PLANNER_H

#include <cstdint>
#include <vector>

namespace memoryviewer {

/** The keys to subscribe to. */
struct SubscriptionPlan {
    std::vector<std::uint32_t> fFast;  ///< sorted, at the user's rate
    std::vector<std::uint32_t> fSlow;  ///< sorted, once a second

    bool operator==(const SubscriptionPlan& other) const {
        return fFast == other.fFast && fSlow == other.fSlow;
    }
    bool isEmpty() const { return fFast.empty() && fSlow.empty(); }
    bool contains(std::uint32_t id) const;
};

/** The keys needed by each part of the viewer. */
struct SubscriptionNeeds {
    bool fIsSeen = false;    ///< not hidden, minimised or in a background tab
    bool fIsPaused = false;  ///< by the user
    std::vector<std::uint32_t> fVisible;
    std::vector<std::uint32_t> fWatched;
    std::vector<std::uint32_t> fPlotted;
    std::vector<std::uint32_t> fRecorded;  ///< needed even when not seen or paused
    std::vector<std::uint32_t> fCompared;  ///< all keys on which a live sort or filter depends
};

SubscriptionPlan planSubscription(const SubscriptionNeeds& needs);

}  // namespace memoryviewer

#endif
