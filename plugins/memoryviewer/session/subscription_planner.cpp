#include "session/subscription_planner.h"

#include <algorithm>
#include <iterator>

namespace memoryviewer {

namespace {

using Ids = std::vector<std::uint32_t>;

void add(Ids& all, const Ids& some) {
    all.insert(all.end(), some.begin(), some.end());
}

void sortOnce(Ids& ids) {
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
}

}  // namespace

bool SubscriptionPlan::contains(std::uint32_t id) const {
    return std::binary_search(fFast.begin(), fFast.end(), id) ||
           std::binary_search(fSlow.begin(), fSlow.end(), id);
}

SubscriptionPlan planSubscription(const SubscriptionNeeds& needs) {
    SubscriptionPlan plan;
    add(plan.fFast, needs.fRecorded);
    if (needs.fIsSeen && !needs.fIsPaused) {
        add(plan.fFast, needs.fVisible);
        add(plan.fFast, needs.fWatched);
        add(plan.fFast, needs.fPlotted);
        Ids compared = needs.fCompared;
        sortOnce(compared);
        sortOnce(plan.fFast);
        std::set_difference(compared.begin(), compared.end(), plan.fFast.begin(), plan.fFast.end(),
                            std::back_inserter(plan.fSlow));
    }
    sortOnce(plan.fFast);
    return plan;
}

}  // namespace memoryviewer
