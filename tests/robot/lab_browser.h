#ifndef OBVISTA_TESTS_ROBOT_LAB_BROWSER_H
#define OBVISTA_TESTS_ROBOT_LAB_BROWSER_H

#include "child_process.h"

#include <string>

/** Helpers of tests of announcements inside a lab, where they run on the host "observer". */
namespace lab_test {

constexpr const char* a_robax = "_robax._tcp";
constexpr const char* a_robaxi = "_robaxi._tcp";
constexpr const char* a_ownAddress = "10.77.0.1";

/** A running avahi-browse for the services of a type. */
class Browser {
  public:
    explicit Browser(const std::string& type);

    /** Waits until a service was announced and resolved: see resolved(). */
    bool saw(const std::string& line,
             obvista_test::ChildProcess::Timeout timeout = obvista_test::ChildProcess::a_patience);

    /** Waits until the service of a name was withdrawn. */
    bool lost(const std::string& name);

    /** Returns true if a service of a name has been withdrawn so far. */
    bool hasLost(const std::string& name) const;

    std::string output() const { return fProcess.output(); }

  private:
    std::string xLossOf(const std::string& name) const;

    std::string fType;
    obvista_test::ChildProcess fProcess;
};

/** Returns a Browser's output for a service, by default one of the observer. */
std::string resolved(const std::string& name, const std::string& type, int port,
                     const std::string& host = "observer.local",
                     const std::string& address = a_ownAddress);

/**
 * Returns true if a query for a type finds the service now, or a little later: recent changes are
 * cached with their old state.
 */
bool isSeenInTheEnd(const std::string& type, const std::string& line);

}  // namespace lab_test

#endif
