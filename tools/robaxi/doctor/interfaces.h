#ifndef OBVISTA_TOOLS_ROBAXI_DOCTOR_INTERFACES_H
#define OBVISTA_TOOLS_ROBAXI_DOCTOR_INTERFACES_H

#include <netinet/in.h>
#include <string>
#include <vector>

namespace robaxi_tool {

/** A network interface, other than loopback, with an IPv4 address. */
struct Interface {
    std::string fName;
    int fIndex = 0;
    std::string fAddress;
    bool fIsUp = false;  ///< enabled, with a cable or a wireless network
    bool fIsMulticast = false;
};

/** Returns the interfaces of this computer. @throws std::system_error */
std::vector<Interface> networkInterfaces();

/** Returns those that are up and support multicast. @throws std::system_error */
std::vector<Interface> multicastInterfaces();

/** Returns the names for a sentence: "eth0, wlan0". */
std::string namesOf(const std::vector<Interface>& interfaces);

/** An owned socket. */
class Socket {
  public:
    /** Creates an IPv4 UDP socket. @throws std::system_error */
    Socket();
    ~Socket();
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    int number() const { return fNumber; }

  private:
    int fNumber;
};

/** Returns the group and port of mDNS: 224.0.0.251, port 5353. */
sockaddr_in mdnsGroup();

}  // namespace robaxi_tool

#endif
