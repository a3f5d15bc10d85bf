#ifndef OBVISTA_TESTS_PLAIN_LINK_H
#define OBVISTA_TESTS_PLAIN_LINK_H

#include <obvista/viewer/robot_link.h>

namespace obvista_test {

/** A link through which nothing flows. */
class PlainLink : public obvista::RobotLink {
  public:
    using RobotLink::RobotLink;
    ~PlainLink() override { close(); }
    PlainLink(const PlainLink&) = delete;
    PlainLink& operator=(const PlainLink&) = delete;

  protected:
    void stop() override {}
    void restart() override {}
};

}  // namespace obvista_test

#endif
