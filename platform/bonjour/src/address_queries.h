#ifndef BONJOUR_ADDRESS_QUERIES_H
#define BONJOUR_ADDRESS_QUERIES_H

#include <base/lookups.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace KV::bonjour {

/** Returns true for a name of the local network, such as "robot1.local". */
bool isLocalName(const std::string& name);

/**
 * Lookups of host names by the Avahi daemon, on threads that are abandoned if it hangs. Unlike the
 * system's resolver, the daemon does not wait for DNS servers, and reports the addresses of all
 * interfaces and of both families.
 */
class AddressQueries {
  public:
    /**
     * @param addresses numeric, IPv4 first, IPv6 link-local ones last and with their interface, for
     *        instance "fe80::1%eth0"; at most a_mostAddresses; empty if the daemon finds none
     */
    using Answer = std::function<void(const std::vector<std::string>& addresses)>;

    static constexpr std::size_t a_mostAddresses = 16;

    AddressQueries();
    /** Returns when no answer is being delivered, and none will be. */
    ~AddressQueries();
    AddressQueries(const AddressQueries&) = delete;
    AddressQueries& operator=(const AddressQueries&) = delete;

    /**
     * Starts a lookup. The answer is delivered on another thread, one at a time: at once if the
     * daemon knows addresses of both families, otherwise 50 ms after the first one.
     */
    void start(const std::string& hostName, const Answer& answer);

  private:
    class Client;

    std::shared_ptr<Client> fClient;  ///< also held by the threads; the last one releases it
    base::Lookups fCalls{1};          ///< the calls to the daemon, one after the other
};

/** Returns the addresses of a host name; none if the daemon has not answered in time. */
std::vector<std::string> addressesInTime(const std::string& hostName,
                                         std::chrono::milliseconds time);

}  // namespace KV::bonjour

#endif
