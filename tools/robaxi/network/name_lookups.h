#ifndef OBVISTA_TOOLS_ROBAXI_NETWORK_NAME_LOOKUPS_H
#define OBVISTA_TOOLS_ROBAXI_NETWORK_NAME_LOOKUPS_H

#include "process/bell.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace robaxi_tool {

/** The addresses of a host name, IPv4 first; none when it does not resolve. */
std::vector<std::string> addressesOf(const std::string& hostName);

/**
 * Returns the same within a time, or nothing if the system's resolver has not answered by then.
 *
 * @throws Interrupted
 */
std::optional<std::vector<std::string>> addressesInTime(const std::string& hostName,
                                                        Clock::duration time,
                                                        Interruption& interruption);

/**
 * Looks host names up on a few threads of its own.
 *
 * A look-up cannot be broken off, and takes several seconds for a name that nobody answers to. So
 * the threads are left behind when this is destroyed; they end with their look-up.
 */
class NameLookups {
  public:
    using Answer = std::function<void(const std::vector<std::string>& addresses)>;

    NameLookups();
    /** No answer is given any more once it returns. */
    ~NameLookups();
    NameLookups(const NameLookups&) = delete;
    NameLookups& operator=(const NameLookups&) = delete;

    /** The answer is given on one of the threads. */
    void start(const std::string& hostName, Answer answer);

  private:
    struct Shared;
    static void xWork(const std::shared_ptr<Shared>& shared);

    std::shared_ptr<Shared> fShared;
};

}  // namespace robaxi_tool

#endif
