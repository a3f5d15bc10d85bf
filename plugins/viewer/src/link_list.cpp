#include "link_list.h"

#include <algorithm>

namespace obvista {

void LinkList::add(const std::shared_ptr<RobotLink>& link) {
    fLinks.erase(std::remove_if(fLinks.begin(), fLinks.end(),
                                [](const auto& weakLink) { return weakLink.expired(); }),
                 fLinks.end());
    fLinks.push_back(link);
}

std::vector<std::shared_ptr<RobotLink>> LinkList::links() const {
    std::vector<std::shared_ptr<RobotLink>> held;
    for (const std::weak_ptr<RobotLink>& weakLink : fLinks) {
        if (std::shared_ptr<RobotLink> link = weakLink.lock()) {
            held.push_back(std::move(link));
        }
    }
    return held;
}

}  // namespace obvista
