#ifndef OBVISTA_TESTS_BONJOUR_LAB_NETWORK_H
#define OBVISTA_TESTS_BONJOUR_LAB_NETWORK_H

#include "child_process.h"

#include <memory>
#include <string>
#include <vector>

namespace lab {

using Arguments = std::vector<std::string>;

using obvista_test::ChildProcess;

/** What a command that ended wrote, and its status as ChildProcess gives it. */
struct Result {
    int fStatus = -1;
    std::string fOutput;
    std::string fErrors;
};

/** Runs a command to its end. */
Result run(const Arguments& command);

/** Runs lab/ctl, whose failure fails the test. */
void control(const Arguments& arguments);

/** A command in the background: told to end, and waited for, when this object goes. */
class Process {
  public:
    explicit Process(const Arguments& command);
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process();

    ChildProcess& child() { return fChild; }

  private:
    ChildProcess fChild;
};

/** A host of the lab with nothing announced but its name; shut down in order when it goes. */
class Host {
  public:
    explicit Host(const std::string& name);
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;
    ~Host();

    /** Announces a service until the process goes; it says goodbye then. */
    std::unique_ptr<Process> announce(const std::string& type, int port,
                                      const std::string& instance = {},
                                      const std::string& hostName = {}) const;
    /** Announces with mdns_announcer, which is told to by these arguments. */
    std::unique_ptr<Process> announceRaw(const Arguments& arguments) const;
    std::unique_ptr<Process> start(const Arguments& command) const;

  private:
    std::string fName;
};

/** How often avahi-browse sees a service of the type on the interface, over all protocols. */
std::size_t countBrowsed(const std::string& type, const std::string& interface);

/** The IPv4 address that the system finds for a host name, or "" when it finds none. */
std::string addressOf(const std::string& hostName);

}  // namespace lab

#endif
