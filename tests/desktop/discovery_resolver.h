#ifndef OBVISTA_TESTS_DESKTOP_DISCOVERY_RESOLVER_H
#define OBVISTA_TESTS_DESKTOP_DISCOVERY_RESOLVER_H

#include <string>

/**
 * What passes between the program under test and the system's resolver. A program that links this
 * asks through it: the answers are the system's own, but a test can count and hold them. Names
 * under ".invalid" do not exist, and nobody is asked for them.
 */
namespace obvista_test::resolver {

/** How often the name was asked for. */
int lookUps(const std::string& name);

/** How often an answer about the name was given, a bad one included. */
int answers(const std::string& name);

/** Holds the answers to all look-ups that follow, while it lives. */
class Hold {
  public:
    Hold();
    /** Lets them through. */
    ~Hold();
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

    /** Lets the next one through, in the order in which they came. */
    void releaseOne();
};

/** Whether that many look-ups are held now. */
bool areHeld(int count);

}  // namespace obvista_test::resolver

#endif
