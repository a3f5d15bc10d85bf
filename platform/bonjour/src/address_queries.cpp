#include "address_queries.h"

#include <base/free_with.h>
#include <base/gate.h>

#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-common/defs.h>
#include <avahi-common/thread-watch.h>
#include <avahi-common/timeval.h>
#include <boost/algorithm/string/predicate.hpp>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstdint>
#include <deque>
#include <future>
#include <list>
#include <locale>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <utility>

namespace KV::bonjour {

namespace {

/** Time after which a host that has not answered is taken to be gone. */
constexpr std::chrono::seconds a_patience(5);
/** Time that one family's addresses wait for the other's (RFC 8305, Resolution Delay). */
constexpr std::chrono::milliseconds a_resolutionDelay(50);
/** Each query needs two of the 1024 objects that the daemon allows a client. */
constexpr std::size_t a_mostQueries = 500;

/** Returns the text of an address in a DNS record; empty if it is not one. */
std::string addressText(const void* data, std::size_t size, AvahiIfIndex interface) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (size == sizeof(in_addr)) {
        return ::inet_ntop(AF_INET, data, text.data(), text.size());
    }
    if (size != sizeof(in6_addr)) {
        return {};
    }
    std::string address = ::inet_ntop(AF_INET6, data, text.data(), text.size());
    if (!IN6_IS_ADDR_LINKLOCAL(static_cast<const in6_addr*>(data))) {
        return address;
    }
    std::array<char, IF_NAMESIZE> name{};
    return ::if_indextoname(static_cast<unsigned>(interface), name.data()) == nullptr
               ? std::string()
               : address + '%' + name.data();
}

int rankOf(const std::string& address) {
    const bool isIpv6 = address.find(':') != std::string::npos;
    const bool isLinkLocal = address.find('%') != std::string::npos;
    return isLinkLocal ? 2 : isIpv6 ? 1 : 0;
}

}  // namespace

bool isLocalName(const std::string& name) {
    const std::string suffix = ".local";
    return name.size() > suffix.size() && boost::iends_with(name, suffix, std::locale::classic());
}

/** A connection to the daemon, with a thread of Avahi. */
class AddressQueries::Client {
  public:
    Client() : fPoll(avahi_threaded_poll_new()) {}
    ~Client() {
        if (fClient != nullptr) {
            avahi_threaded_poll_stop(fPoll.get());
        }
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void connect() {
        fClient.reset(
            avahi_client_new(avahi_threaded_poll_get(fPoll.get()), {}, nullptr, nullptr, nullptr));
        if (fClient != nullptr) {
            avahi_threaded_poll_start(fPoll.get());
        }
    }

    void ask(const std::string& hostName, const Answer& answer) {
        if (fClient == nullptr) {
            xDeliver(answer, {});
            return;
        }
        avahi_threaded_poll_lock(fPoll.get());
        fWaiting.push_back({hostName, answer});
        xStartWaiting();
        avahi_threaded_poll_unlock(fPoll.get());
    }

    void close() { fGate.close(); }

  private:
    struct Query;
    /** The search for the addresses of one family. */
    struct Search {
        Query* fQuery = nullptr;
        AvahiRecordBrowser* fBrowser = nullptr;
        bool fIsCacheRead = false;  ///< what the daemon knew has been received
        std::vector<std::string> fAddresses{};
    };
    struct Query {
        Client* fOwner;
        Answer fAnswer;
        std::list<Query>::iterator fPlace{};
        AvahiTimeout* fTimer = nullptr;
        bool fWaitsForFamily = false;
        std::array<Search, 2> fSearches{};
    };
    struct Waiting {
        std::string fHostName;
        Answer fAnswer;
    };

    void xStartWaiting();
    bool xStart(Query& query, const std::string& hostName);
    void xAdvance(Query& query);
    void xFinish(Query& query);
    void xRemove(Query& query);
    void xDeliver(const Answer& answer, const std::vector<std::string>& addresses) {
        fGate.pass([&answer, &addresses] { answer(addresses); });
    }
    static timeval xIn(std::chrono::milliseconds time);
    static void xOnTimer(AvahiTimeout* timer, void* userData) noexcept;
    static void xOnRecord(AvahiRecordBrowser* browser, AvahiIfIndex interface,
                          AvahiProtocol protocol, AvahiBrowserEvent event, const char* name,
                          std::uint16_t recordClass, std::uint16_t type, const void* data,
                          std::size_t size, AvahiLookupResultFlags flags, void* userData) noexcept;

    base::Gate fGate;  ///< to those who receive answers
    // Guarded by the poll's lock.
    std::list<Query> fQueries;
    std::deque<Waiting> fWaiting;
    std::unique_ptr<AvahiThreadedPoll, base::FreeWith<avahi_threaded_poll_free>> fPoll;
    // Owns the browsers.
    std::unique_ptr<AvahiClient, base::FreeWith<avahi_client_free>> fClient;
};

void AddressQueries::Client::xStartWaiting() {
    while (!fWaiting.empty() && fQueries.size() < a_mostQueries) {
        const Waiting next = std::move(fWaiting.front());
        fWaiting.pop_front();
        const auto place = fQueries.insert(fQueries.end(), {this, next.fAnswer});
        place->fPlace = place;
        if (!xStart(*place, next.fHostName)) {
            xRemove(*place);
            xDeliver(next.fAnswer, {});
        }
    }
}

/** Returns false for an invalid host name, or if the daemon refuses. */
bool AddressQueries::Client::xStart(Query& query, const std::string& hostName) {
    const AvahiPoll* const poll = avahi_threaded_poll_get(fPoll.get());
    const timeval due = xIn(a_patience);
    query.fTimer = poll->timeout_new(poll, &due, &Client::xOnTimer, &query);
    constexpr std::array<std::uint16_t, 2> types{AVAHI_DNS_TYPE_A, AVAHI_DNS_TYPE_AAAA};
    for (std::size_t i = 0; i < types.size(); ++i) {
        Search& search = query.fSearches[i];
        search.fQuery = &query;
        search.fBrowser = avahi_record_browser_new(
            fClient.get(), AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, hostName.c_str(),
            AVAHI_DNS_CLASS_IN, types[i], AVAHI_LOOKUP_USE_MULTICAST, &Client::xOnRecord, &search);
        if (search.fBrowser == nullptr) {
            return false;
        }
    }
    return true;
}

void AddressQueries::Client::xOnRecord(AvahiRecordBrowser* /*browser*/, AvahiIfIndex interface,
                                       AvahiProtocol /*protocol*/, AvahiBrowserEvent event,
                                       const char* /*name*/, std::uint16_t /*recordClass*/,
                                       std::uint16_t /*type*/, const void* data, std::size_t size,
                                       AvahiLookupResultFlags /*flags*/, void* userData) noexcept {
    auto* const search = static_cast<Search*>(userData);
    std::vector<std::string>& addresses = search->fAddresses;
    if (event == AVAHI_BROWSER_NEW) {
        const std::string address = addressText(data, size, interface);
        // An address is reported for each interface and protocol.
        const bool isNew =
            std::find(addresses.begin(), addresses.end(), address) == addresses.end();
        if (isNew && !address.empty() && addresses.size() < a_mostAddresses) {
            addresses.push_back(address);
        }
    } else if (event != AVAHI_BROWSER_REMOVE) {
        search->fIsCacheRead = true;  // also if it failed
    }
    search->fQuery->fOwner->xAdvance(*search->fQuery);
}

void AddressQueries::Client::xAdvance(Query& query) {
    const auto& searches = query.fSearches;
    const auto isCacheRead = [](const Search& search) { return search.fIsCacheRead; };
    const auto hasAddress = [](const Search& search) { return !search.fAddresses.empty(); };
    if (!std::all_of(searches.begin(), searches.end(), isCacheRead)) {
        return;
    }
    if (std::all_of(searches.begin(), searches.end(), hasAddress)) {
        xFinish(query);
    } else if (!query.fWaitsForFamily &&
               std::any_of(searches.begin(), searches.end(), hasAddress)) {
        query.fWaitsForFamily = true;
        const timeval due = xIn(a_resolutionDelay);
        avahi_threaded_poll_get(fPoll.get())->timeout_update(query.fTimer, &due);
    }
}

void AddressQueries::Client::xOnTimer(AvahiTimeout* /*timer*/, void* userData) noexcept {
    auto* const query = static_cast<Query*>(userData);
    query->fOwner->xFinish(*query);
}

void AddressQueries::Client::xFinish(Query& query) {
    std::vector<std::string> addresses;
    for (const Search& search : query.fSearches) {
        addresses.insert(addresses.end(), search.fAddresses.begin(), search.fAddresses.end());
    }
    std::stable_sort(
        addresses.begin(), addresses.end(),
        [](const std::string& a, const std::string& b) { return rankOf(a) < rankOf(b); });
    addresses.resize(std::min(addresses.size(), a_mostAddresses));
    xDeliver(query.fAnswer, addresses);
    xRemove(query);
    xStartWaiting();
}

void AddressQueries::Client::xRemove(Query& query) {
    for (const Search& search : query.fSearches) {
        if (search.fBrowser != nullptr) {
            avahi_record_browser_free(search.fBrowser);
        }
    }
    avahi_threaded_poll_get(fPoll.get())->timeout_free(query.fTimer);
    fQueries.erase(query.fPlace);
}

timeval AddressQueries::Client::xIn(std::chrono::milliseconds time) {
    timeval due{};
    avahi_elapse_time(&due, static_cast<unsigned>(time.count()), 0);
    return due;
}

// Ending the connection hangs if the daemon does.
AddressQueries::AddressQueries()
    : fClient(new Client,
              [](Client* client) { base::releaseInTime(std::unique_ptr<Client>(client)); }) {
    fCalls.start([client = fClient] {
        client->connect();
        return [] {};
    });
}

AddressQueries::~AddressQueries() {
    fClient->close();
}

void AddressQueries::start(const std::string& hostName, const Answer& answer) {
    fCalls.start([client = fClient, hostName, answer] {
        client->ask(hostName, answer);
        return [] {};
    });
}

std::vector<std::string> addressesInTime(const std::string& hostName,
                                         std::chrono::milliseconds time) {
    std::promise<std::vector<std::string>> found;
    std::future<std::vector<std::string>> answer = found.get_future();
    AddressQueries queries;
    queries.start(hostName, [&found](const std::vector<std::string>& addresses) {
        found.set_value(addresses);
    });
    const bool isInTime = answer.wait_for(time) == std::future_status::ready;
    return isInTime ? answer.get() : std::vector<std::string>();
}

}  // namespace KV::bonjour
