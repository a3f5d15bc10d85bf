#ifndef BONJOUR_SIGHTING_REGISTRY_H
#define BONJOUR_SIGHTING_REGISTRY_H

#include <bonjour/bonjour_profile.h>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace KV::bonjour {

/** One service instance, as seen through one network interface and one IP protocol. */
struct Sighting {
    int fInterface = 0;
    int fProtocol = 0;
    std::string fType;
    std::string fInstance;
    std::string fDomain;

    bool operator<(const Sighting& other) const;
};

/** A change of one host. */
struct HostChange {
    enum class Kind { Added, Updated, Removed };

    Kind fKind = Kind::Added;
    std::string fKey;
    std::string fHostName;
    std::vector<BonjourService> fServices;  ///< after the change
};

/**
 * Counts the sightings of services and derives the changes of the hosts.
 *
 * A service of a host is a type and a port. It exists while it has a sighting, so the same
 * announcement seen on two interfaces is one service; a host exists while it has a service. A host
 * that moves to another address is removed and added at once, for users that have resolved its
 * address. The input is from the network: names are made safe and everything is bounded. Input
 * beyond a bound is ignored, which is reported once on standard error. The class has no lock.
 */
class SightingRegistry {
  public:
    static constexpr std::size_t a_maximumHosts = 4096;
    static constexpr std::size_t a_maximumServicesPerHost = 64;
    static constexpr std::size_t a_maximumSightings = 16384;
    static constexpr std::size_t a_maximumAddressesPerHost = 64;

    /** Adds a sighting. Returns false if it is already known or exceeds a bound. */
    bool see(const Sighting& sighting);

    /**
     * Sets or changes the host name and port of a sighting. The host name is in Avahi's escaped
     * form. An empty name or an address literal, or a port outside 1 to 65535, unresolves the
     * sighting. An unknown sighting is ignored.
     */
    std::vector<HostChange> resolve(const Sighting& sighting, const std::string& hostName,
                                    int port);

    /** Removes host name and port of a sighting that is still announced. */
    std::vector<HostChange> unresolve(const Sighting& sighting);

    /** Removes a sighting. */
    std::vector<HostChange> lose(const Sighting& sighting);

    /**
     * @name Addresses
     * An address of a host appeared or disappeared on one interface and protocol. The key is that
     * of a HostChange; an unknown key is ignored.
     */
    ///@{
    std::vector<HostChange> seeAddress(const std::string& key, const std::string& address);
    std::vector<HostChange> loseAddress(const std::string& key, const std::string& address);
    ///@}

    /** Removes every sighting. */
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
        std::string fLastAddress;                       ///< the last one lost, when all are
    };
    /** Host and port of a sighting; the key is empty if it is unresolved. */
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
