#ifndef OBVISTA_TOOLS_ROBAXI_NETWORK_NAME_LOOKUPS_H
#define OBVISTA_TOOLS_ROBAXI_NETWORK_NAME_LOOKUPS_H

#include "process/bell.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace robaxi_tool {

/** Returns the addresses of a host name, IPv4 first; empty if it does not resolve. */
std::vector<std::string> addressesOf(const std::string& hostName);

/**
 * Returns the addresses of a host name, or nothing if the system's resolver has not answered in
 * time.
 *
 * @throws Interrupted
 */
std::optional<std::vector<std::string>> addressesInTime(const std::string& hostName,
                                                        Clock::duration time,
                                                        Interruption& interruption);

/**
 * Looks up host names on a few dedicated threads.
 *
 * A lookup cannot be cancelled, and takes several seconds for an unknown name. So the destructor
 * abandons the threads, which end with their lookup.
 */
class NameLookups {
  public:
    using Answer = std::function<void(const std::vector<std::string>& addresses)>;

    NameLookups();
    /** Returns when no answer will be delivered any more. */
    ~NameLookups();
    NameLookups(const NameLookups&) = delete;
    NameLookups& operator=(const NameLookups&) = delete;

    /** Starts a lookup. The answer is delivered on one of the threads. */
    void start(const std::string& hostName, Answer answer);

  private:
    struct Shared;
    static void xWork(const std::shared_ptr<Shared>& shared);

    std::shared_ptr<Shared> fShared;
};

}  // namespace robaxi_tool

#endif
