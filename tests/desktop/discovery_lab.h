#ifndef OBVISTA_TESTS_DESKTOP_DISCOVERY_LAB_H
#define OBVISTA_TESTS_DESKTOP_DISCOVERY_LAB_H

#include "child_process.h"

#include <string>
#include <vector>

/** What a test inside lab/run does to the network around it. */
namespace obvista_test::lab {

/** Runs lab/ctl to its end. The program ends with a message when that fails. */
void control(const std::vector<std::string>& arguments);

/** Something that the test itself announces with avahi-publish; it says goodbye when it goes. */
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

/** Whether avahi-browse sees no service of the type, in the daemon's cache neither. */
bool nobodyAnnounces(const std::string& type);

/**
 * A web server, nginx, on port 80 that serves one file.
 *
 * @param folder an empty folder for what it needs
 * @return the shell command that runs it, to its end
 */
std::string webServer(const std::string& folder, const std::string& path,
                      const std::string& content);

/** The arguments with which a host name is announced beside the host's own. */
std::vector<std::string> hostName(const std::string& name, const std::string& address);

/** The arguments with which a service of a host is announced under the host's name. */
std::vector<std::string> service(const std::string& name, const std::string& type);

}  // namespace obvista_test::lab

#endif
