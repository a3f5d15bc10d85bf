#include "discovery_resolver.h"

#include <condition_variable>
#include <dlfcn.h>
#include <map>
#include <mutex>
#include <netdb.h>

namespace obvista_test::resolver {

namespace {

struct State {
    std::mutex fMutex;
    std::condition_variable fChanged;
    std::map<std::string, int> fLookUps;
    std::map<std::string, int> fAnswers;
    bool fHolding = false;
    int fHeld = 0;
    int fNextTicket = 0;
    int fFirstHeldTicket = 0;
};

State& state() {
    static auto* const instance = new State;  // lookups may still run after main()
    return *instance;
}

void countAndHold(const std::string& name) {
    State& self = state();
    std::unique_lock<std::mutex> lock(self.fMutex);
    ++self.fLookUps[name];
    ++self.fHeld;
    const int ticket = self.fNextTicket++;
    self.fChanged.wait(lock, [&] { return !self.fHolding || ticket < self.fFirstHeldTicket; });
    --self.fHeld;
}

int countAnswer(const std::string& name, int result) {
    State& self = state();
    const std::lock_guard<std::mutex> lock(self.fMutex);
    ++self.fAnswers[name];
    return result;
}

}  // namespace

int lookUps(const std::string& name) {
    State& self = state();
    const std::lock_guard<std::mutex> lock(self.fMutex);
    return self.fLookUps[name];
}

int answers(const std::string& name) {
    State& self = state();
    const std::lock_guard<std::mutex> lock(self.fMutex);
    return self.fAnswers[name];
}

Hold::Hold() {
    State& self = state();
    const std::lock_guard<std::mutex> lock(self.fMutex);
    self.fHolding = true;
    self.fFirstHeldTicket = self.fNextTicket;
}

Hold::~Hold() {
    State& self = state();
    const std::lock_guard<std::mutex> lock(self.fMutex);
    self.fHolding = false;
    self.fChanged.notify_all();
}

void Hold::releaseOne() {
    State& self = state();
    const std::lock_guard<std::mutex> lock(self.fMutex);
    ++self.fFirstHeldTicket;
    self.fChanged.notify_all();
}

bool areHeld(int count) {
    State& self = state();
    const std::lock_guard<std::mutex> lock(self.fMutex);
    return self.fHolding && self.fHeld == count;
}

}  // namespace obvista_test::resolver

namespace {

bool isUnder(const std::string& name, const std::string& domain) {
    return name.size() > domain.size() &&
           name.compare(name.size() - domain.size(), std::string::npos, domain) == 0;
}

}  // namespace

// Libraries find it before the C library's function, since the program's symbols come first.
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* node,
                                                                  const char* service,
                                                                  const addrinfo* hints,
                                                                  addrinfo** result) {
    using Function = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
    static const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "getaddrinfo"));
    const std::string name = node == nullptr ? "" : node;
    obvista_test::resolver::countAndHold(name);
    if (isUnder(name, ".invalid")) {
        // Not found, without a network query.
        return obvista_test::resolver::countAnswer(name, EAI_NONAME);
    }
    return obvista_test::resolver::countAnswer(name, next(node, service, hints, result));
}
