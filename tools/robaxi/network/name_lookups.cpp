#include "network/name_lookups.h"

#include <algorithm>
#include <array>
#include <deque>
#include <mutex>
#include <netdb.h>
#include <sys/socket.h>
#include <thread>
#include <utility>

namespace robaxi_tool {

namespace {

constexpr std::size_t a_mostThreads = 8;

std::string numericText(const addrinfo& found) {
    std::array<char, NI_MAXHOST> text{};
    const int status = getnameinfo(found.ai_addr, found.ai_addrlen, text.data(), text.size(),
                                   nullptr, 0, NI_NUMERICHOST);
    return status == 0 ? text.data() : std::string();
}

std::vector<std::string> addressesOfFamily(const addrinfo* found, int family) {
    std::vector<std::string> addresses;
    for (; found != nullptr; found = found->ai_next) {
        if (found->ai_family == family) {
            addresses.push_back(numericText(*found));
        }
    }
    return addresses;
}

}  // namespace

std::vector<std::string> addressesOf(const std::string& hostName) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(hostName.c_str(), nullptr, &hints, &found) != 0) {
        return {};
    }
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, &freeaddrinfo);
    std::vector<std::string> addresses = addressesOfFamily(found, AF_INET);
    const std::vector<std::string> others = addressesOfFamily(found, AF_INET6);
    addresses.insert(addresses.end(), others.begin(), others.end());
    return addresses;
}

struct NameLookups::Shared {
    std::mutex fMutex;  ///< guards everything; held while an answer is delivered
    std::deque<std::pair<std::string, Answer>> fWaiting;
    std::size_t fThreads = 0;
    bool fEnded = false;
};

NameLookups::NameLookups() : fShared(std::make_shared<Shared>()) {
}

NameLookups::~NameLookups() {
    const std::lock_guard lock(fShared->fMutex);
    fShared->fEnded = true;
    fShared->fWaiting.clear();
}

void NameLookups::start(const std::string& hostName, Answer answer) {
    const std::lock_guard lock(fShared->fMutex);
    fShared->fWaiting.emplace_back(hostName, std::move(answer));
    if (fShared->fThreads < a_mostThreads) {
        ++fShared->fThreads;
        std::thread([shared = fShared] { xWork(shared); }).detach();
    }
}

void NameLookups::xWork(const std::shared_ptr<Shared>& shared) {
    std::unique_lock lock(shared->fMutex);
    while (!shared->fWaiting.empty()) {
        const auto [hostName, answer] = std::move(shared->fWaiting.front());
        shared->fWaiting.pop_front();
        lock.unlock();
        const std::vector<std::string> addresses = addressesOf(hostName);
        lock.lock();
        if (!shared->fEnded) {
            answer(addresses);
        }
    }
    --shared->fThreads;
}

std::optional<std::vector<std::string>> addressesInTime(const std::string& hostName,
                                                        Clock::duration time,
                                                        Interruption& interruption) {
    Bell bell(interruption);
    std::mutex mutex;
    std::optional<std::vector<std::string>> found;
    NameLookups lookups;
    lookups.start(hostName, [&](const std::vector<std::string>& addresses) {
        {
            const std::lock_guard lock(mutex);
            found = addresses;
        }
        bell.ring();
    });
    const auto isFound = [&] {
        const std::lock_guard lock(mutex);
        return found.has_value();
    };
    bell.waitUntil(Clock::now() + time, isFound);
    const std::lock_guard lock(mutex);
    return found;
}

}  // namespace robaxi_tool
