#ifndef OBVISTA_TOOLS_ROBAXI_NETWORK_HOST_ROWS_H
#define OBVISTA_TOOLS_ROBAXI_NETWORK_HOST_ROWS_H

#include "network/announced_hosts.h"

#include <optional>
#include <string>
#include <vector>

namespace robaxi_tool {

/** One line of the list of hosts. */
struct HostRow {
    std::string fName;
    std::string fHostName;
    std::string fAnnouncedName;  ///< name of the service instance, which is a HOST too
    std::string fAddress;        ///< empty when it is not known
    std::optional<int> fPort;
    bool fIsRobot = false;
};

/** One row for each middleware of a host, or one without a port when there is none. */
std::vector<HostRow> rowsOf(const AnnouncedHost& host);

/** Lines, each with its end; safe for a terminal. */
std::string rowHeader();
std::string textOfRow(const HostRow& row);
std::string jsonOfRow(const HostRow& row);

}  // namespace robaxi_tool

#endif
