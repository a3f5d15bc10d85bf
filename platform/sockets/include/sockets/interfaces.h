#ifndef SOCKETS_INTERFACES_H
#define SOCKETS_INTERFACES_H

#include <string>
#include <vector>

namespace sockets {

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

}  // namespace sockets

#endif
