#ifndef OBVISTA_TOOLS_ROBAXI_DOCTOR_MDNS_GROUP_H
#define OBVISTA_TOOLS_ROBAXI_DOCTOR_MDNS_GROUP_H

#include <sockets/multicast.h>

namespace robaxi_tool {

/** Returns the group and port of mDNS: 224.0.0.251, port 5353. */
inline sockaddr_in mdnsGroup() {
    return sockets::groupAddress(0xe00000fb, 5353);
}

}  // namespace robaxi_tool

#endif
