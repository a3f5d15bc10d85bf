#ifndef OBVISTA_TESTS_BONJOUR_LAB_NETWORK_H
#define OBVISTA_TESTS_BONJOUR_LAB_NETWORK_H

#include "child_process.h"
#include "lab_control.h"

#include <memory>
#include <string>
#include <vector>

namespace lab {

using Arguments = std::vector<std::string>;

using obvista_test::ChildProcess;
using obvista_test::lab::control;
using obvista_test::lab::controlCommand;
using obvista_test::lab::PausedDaemon;

/** Output and status of a command that has ended; the status as in ChildProcess. */
struct Result {
    int fStatus = -1;
    std::string fOutput;
    std::string fErrors;
};

/** Runs a command to its end. */
Result run(const Arguments& command);

/** A command in the background; the destructor terminates it and waits for its end. */
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

/** A host of the lab that announces only its name; the destructor shuts it down in order. */
class Host {
  public:
    explicit Host(const std::string& name);
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;
    ~Host();

    /** Announces a service while the process exists; its end sends the goodbye. */
    std::unique_ptr<Process> announce(const std::string& type, int port,
                                      const std::string& instance = {},
                                      const std::string& hostName = {}) const;
    /** Announces with mdns_announcer and these arguments. */
    std::unique_ptr<Process> announceRaw(const Arguments& arguments) const;
    std::unique_ptr<Process> start(const Arguments& command) const;

  private:
    std::string fName;
};

/**
 * Returns how often avahi-browse sees a service of the type on the interface, for all protocols.
 */
std::size_t countBrowsed(const std::string& type, const std::string& interface);

/** Returns true if avahi-browse sees services of the type with all these names. */
bool areBrowsed(const std::string& type, const std::vector<std::string>& instances);

/** Returns the IPv4 address that the system resolves for a host name; "" if there is none. */
std::string addressOf(const std::string& hostName);

}  // namespace lab

#endif
