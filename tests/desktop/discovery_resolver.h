#ifndef OBVISTA_TESTS_DESKTOP_DISCOVERY_RESOLVER_H
#define OBVISTA_TESTS_DESKTOP_DISCOVERY_RESOLVER_H

#include <string>

/**
 * Intercepts the calls to the system's resolver. In a program that links this, the answers are the
 * system's own, but a test can count and hold them. Names under ".invalid" do not exist, without a
 * query.
 */
namespace obvista_test::resolver {

/** Returns the number of lookups of the name. */
int lookUps(const std::string& name);

/** Returns the number of answers for the name, including failures. */
int answers(const std::string& name);

/** Holds the answers to all following lookups while it exists. */
class Hold {
  public:
    Hold();
    /** Releases them. */
    ~Hold();
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

    /** Releases the next one, in the order of arrival. */
    void releaseOne();
};

/** Returns true if that many lookups are being held. */
bool areHeld(int count);

}  // namespace obvista_test::resolver

#endif
