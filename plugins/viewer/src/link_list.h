#ifndef OBVISTA_VIEWER_LINK_LIST_H
#define OBVISTA_VIEWER_LINK_LIST_H

#include <memory>
#include <vector>

namespace obvista {

class RobotLink;

/** A list of links that others own. Used on the GUI thread. */
class LinkList {
  public:
    void add(const std::shared_ptr<RobotLink>& link);
    /** Returns those that still exist. */
    std::vector<std::shared_ptr<RobotLink>> links() const;

  private:
    std::vector<std::weak_ptr<RobotLink>> fLinks;
};

}  // namespace obvista

#endif
