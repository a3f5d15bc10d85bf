// Announcements that the hosts of a network may make, in any order.
#include "fuzz_target.h"
#include "host_name.h"
#include "pieces.h"
#include "sighting_registry.h"

#include <set>

namespace {

using namespace KV::bonjour;
using obvista_fuzz::require;

/** Tracks the hosts by the registry's changes, like its user. */
class Hosts {
  public:
    void apply(const std::vector<HostChange>& changes) {
        for (const HostChange& change : changes) {
            require(change.fHostName.size() <= a_maximumHostNameSize, "a host name is bounded");
            switch (change.fKind) {
                case HostChange::Kind::Added:
                    require(fKeys.insert(change.fKey).second, "a host is added once");
                    require(!change.fServices.empty(), "a host has a service");
                    break;
                case HostChange::Kind::Updated:
                    require(fKeys.count(change.fKey) == 1, "only a host that is there changes");
                    break;
                case HostChange::Kind::Removed:
                    require(fKeys.erase(change.fKey) == 1, "only a host that is there goes");
                    break;
            }
        }
        require(fKeys.size() <= SightingRegistry::a_maximumHosts, "the hosts are bounded");
    }

    /** Returns the first existing host. */
    std::string any() const { return fKeys.empty() ? std::string() : *fKeys.begin(); }
    bool isEmpty() const { return fKeys.empty(); }

  private:
    std::set<std::string> fKeys;
};

/** Returns one of few sightings, so that the same one occurs again. */
Sighting sightingOf(std::uint8_t byte) {
    Sighting sighting;
    sighting.fInterface = byte & 3U;
    sighting.fProtocol = (byte >> 2U) & 1U;
    sighting.fType = (byte & 8U) != 0 ? "_robax._tcp" : "_robaxi._tcp";
    sighting.fInstance = std::string(1, static_cast<char>('a' + (byte >> 4U)));
    sighting.fDomain = "local";
    return sighting;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    SightingRegistry registry;
    Hosts hosts;
    // Each piece: the operation, the sighting, the port; the rest is a name or address.
    constexpr std::size_t head = 4;
    for (const std::string& piece : obvista_fuzz::pieces(data, size)) {
        if (piece.size() < head) {
            continue;
        }
        const auto byte = [&piece](std::size_t i) { return static_cast<std::uint8_t>(piece[i]); };
        const Sighting sighting = sightingOf(byte(1));
        const int port = byte(2) + 256 * byte(3);
        const std::string text = piece.substr(head);
        switch (byte(0) % 6) {
            case 0:
                registry.see(sighting);
                break;
            case 1:
                hosts.apply(registry.resolve(sighting, text, port));
                break;
            case 2:
                hosts.apply(registry.unresolve(sighting));
                break;
            case 3:
                hosts.apply(registry.lose(sighting));
                break;
            case 4:
                hosts.apply(registry.seeAddress(hosts.any(), text));
                break;
            default:
                hosts.apply(registry.loseAddress(hosts.any(), text));
        }
    }
    hosts.apply(registry.clear());
    require(hosts.isEmpty(), "no host is left when every sighting is gone");
    return 0;
}
