#ifndef BONJOUR_SIGHTING_REGISTRY_H
#define BONJOUR_SIGHTING_REGISTRY_H

#include <bonjour/bonjour_profile.h>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace KV::bonjour {

/** One service instance as it is seen through one network interface and one IP protocol. */
struct Sighting {
    int fInterface = 0;
    int fProtocol = 0;
    std::string fType;
    std::string fInstance;
    std::string fDomain;

    bool operator<(const Sighting& other) const;
};

/** What became of one host. */
struct HostChange {
    enum class Kind { Added, Updated, Removed };

    Kind fKind = Kind::Added;
    std::string fKey;
    std::string fHostName;
    std::vector<BonjourService> fServices;  ///< after the change
};

/**
 * Counts the sightings of services and says what they mean for the hosts.
 *
 * A service of a host is a type and a port. It lives while one sighting of it is left, so the same
 * announcement seen on two interfaces is one service; a host lives while it has a service. A host
 * that moves from one address to another is removed and added at once, for whoever has looked its
 * address up. What comes in is from the network: names are made safe and everything is bounded;
 * what goes beyond a bound is left out, which is said once on standard error. It has no lock.
 */
class SightingRegistry {
  public:
    static constexpr std::size_t a_maximumHosts = 4096;
    static constexpr std::size_t a_maximumServicesPerHost = 64;
    static constexpr std::size_t a_maximumSightings = 16384;
    static constexpr std::size_t a_maximumAddressesPerHost = 64;

    /** Takes in a new sighting. False when it is known already or is one too many. */
    bool see(const Sighting& sighting);

    /**
     * Takes in where a sighting leads to, for the first time or anew. The host name is in Avahi's
     * escaped form. A name that is empty or an address literal, and a port outside 1 to 65535,
     * lead nowhere. A sighting that was not seen is passed over.
     */
    std::vector<HostChange> resolve(const Sighting& sighting, const std::string& hostName,
                                    int port);

    /** The sighting leads nowhere any more, though it is still announced. */
    std::vector<HostChange> unresolve(const Sighting& sighting);

    /** The sighting is gone. */
    std::vector<HostChange> lose(const Sighting& sighting);

    /**
     * @name Addresses
     * An address of a host is announced, or is announced no more, on one interface and protocol.
     * The key is that of a HostChange; one that is not known is passed over.
     */
    ///@{
    std::vector<HostChange> seeAddress(const std::string& key, const std::string& address);
    std::vector<HostChange> loseAddress(const std::string& key, const std::string& address);
    ///@}

    /** Every sighting is gone. */
    std::vector<HostChange> clear();

  private:
    struct Service {
        BonjourService fService;
        std::size_t fSightings = 0;
    };
    struct Host {
        std::string fName;
        std::vector<Service> fServices;
        std::map<std::string, std::size_t> fAddresses;  ///< with the number of their sightings
        std::string fLastAddress;                       ///< the one lost last, when all are
    };
    /** Where a sighting leads to; nowhere when the key is empty. */
    struct Place {
        std::string fKey;
        BonjourService fService;
    };

    void xLeave(Place& place);
    void xForgetIfEmpty(const std::string& key);
    void xEnter(Place& place, const std::string& hostName, const BonjourService& service);
    Host* xFindOrAddHost(const std::string& key, const std::string& hostName);
    Service* xFindOrAddService(Host& host, const BonjourService& service);
    HostChange xDescribe(const std::string& key) const;
    std::vector<HostChange> xRenew(const std::string& key) const;

    std::map<Sighting, Place> fSightings;
    std::map<std::string, Host> fHosts;
    bool fSaidSightings = false;
    bool fSaidHosts = false;
    bool fSaidServices = false;
};

}  // namespace KV::bonjour

#endif
