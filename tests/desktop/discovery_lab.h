#ifndef OBVISTA_TESTS_DESKTOP_DISCOVERY_LAB_H
#define OBVISTA_TESTS_DESKTOP_DISCOVERY_LAB_H

#include "child_process.h"
#include "lab_control.h"

#include <string>
#include <vector>

namespace obvista_test::lab {

/** An announcement by the test, with avahi-publish; the destructor sends the goodbye. */
class Announcement {
  public:
    /** @param arguments those of avahi-publish */
    explicit Announcement(const std::vector<std::string>& arguments);
    ~Announcement();
    Announcement(const Announcement&) = delete;
    Announcement& operator=(const Announcement&) = delete;

    /** Waits until it is established on the network. */
    bool isEstablished();

  private:
    ChildProcess fProcess;
};

/** Returns true if avahi-browse finds no service of the type, not even in the daemon's cache. */
bool nobodyAnnounces(const std::string& type);

/**
 * Returns the shell command of a web server, nginx, on port 80 that serves one file.
 *
 * @param folder an empty folder for its files
 */
std::string webServer(const std::string& folder, const std::string& path,
                      const std::string& content);

/** Returns the arguments that announce an additional host name. */
std::vector<std::string> hostName(const std::string& name, const std::string& address);

/** Returns the arguments that announce a service under the host's name. */
std::vector<std::string> service(const std::string& name, const std::string& type);

}  // namespace obvista_test::lab

#endif
