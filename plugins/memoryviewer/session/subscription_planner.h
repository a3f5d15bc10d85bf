#ifndef OBVISTA_MEMORYVIEWER_SUBSCRIPTION_PLANNER_H
#define OBVISTA_MEMORYVIEWER_SUBSCRIPTION_PLANNER_H

#include <cstdint>
#include <vector>

namespace memoryviewer {

/** Which keys the robot is asked for. */
struct SubscriptionPlan {
    std::vector<std::uint32_t> fFast;  ///< sorted, at the rate that the user chose
    std::vector<std::uint32_t> fSlow;  ///< sorted, once a second

    bool operator==(const SubscriptionPlan& other) const {
        return fFast == other.fFast && fSlow == other.fSlow;
    }
    bool isEmpty() const { return fFast.empty() && fSlow.empty(); }
    bool contains(std::uint32_t id) const;
};

/** What the keys are needed for. */
struct SubscriptionNeeds {
    bool fIsSeen = false;    ///< neither hidden, minimised nor behind a tab
    bool fIsPaused = false;  ///< by the user
    std::vector<std::uint32_t> fVisible;
    std::vector<std::uint32_t> fWatched;
    std::vector<std::uint32_t> fPlotted;
    std::vector<std::uint32_t> fRecorded;  ///< needed whether seen and paused or not
    std::vector<std::uint32_t> fCompared;  ///< all that a live sort or filter looks at
};

SubscriptionPlan planSubscription(const SubscriptionNeeds& needs);

}  // namespace memoryviewer

#endif
