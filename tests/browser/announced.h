#ifndef OBVISTA_TESTS_BROWSER_ANNOUNCED_H
#define OBVISTA_TESTS_BROWSER_ANNOUNCED_H

#include <bonjour/bonjour_profile.h>

#include <boost/shared_ptr.hpp>

#include <string>
#include <vector>

namespace obvista_test {

/**
 * Puts hosts into the discovery map like the discovery library, with its write lock, so that the
 * robot list can be tested without a network. The destructor empties the map.
 */
class Announced {
  public:
    Announced() = default;
    ~Announced();
    Announced(const Announced&) = delete;
    Announced& operator=(const Announced&) = delete;

    /** Adds or replaces the announcements of a host; the profile object remains the same. */
    boost::shared_ptr<KV::BonjourProfile> set(const std::string& hostName,
                                              const std::vector<KV::BonjourService>& services,
                                              const std::string& ip);
    boost::shared_ptr<KV::BonjourProfile> robot(const std::string& hostName, int port,
                                                const std::string& ip);
    boost::shared_ptr<KV::BonjourProfile> computer(const std::string& hostName, int port,
                                                   const std::string& ip);
    /** Adds a robot whose middleware is not running. */
    boost::shared_ptr<KV::BonjourProfile> robotWithoutMiddleware(const std::string& hostName,
                                                                 const std::string& ip);
    void withdraw(const std::string& hostName);
};

}  // namespace obvista_test

#endif
