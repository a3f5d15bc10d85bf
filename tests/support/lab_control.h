#ifndef OBVISTA_TESTS_SUPPORT_LAB_CONTROL_H
#define OBVISTA_TESTS_SUPPORT_LAB_CONTROL_H

#include <string>
#include <vector>

/** Actions of a test or benchmark inside lab/run on the network around it. */
namespace obvista_test::lab {

/** Returns the command line of lab/ctl with these arguments. */
std::vector<std::string> controlCommand(const std::vector<std::string>& arguments);

/**
 * Runs lab/ctl. Terminates the program with a message if that fails, since the network is then not
 * what the tests expect.
 *
 * @return its output
 */
std::string control(const std::vector<std::string>& arguments);

/** Suspends the Avahi daemon of the test's host while it exists. */
class PausedDaemon {
  public:
    PausedDaemon() { control({"avahi", "pause"}); }
    ~PausedDaemon() { control({"avahi", "continue"}); }
    PausedDaemon(const PausedDaemon&) = delete;
    PausedDaemon& operator=(const PausedDaemon&) = delete;
};

}  // namespace obvista_test::lab

#endif
