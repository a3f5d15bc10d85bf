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
    std::string fAnnouncedName;  ///< name of the service instance, which also works as HOST
    std::string fAddress;        ///< empty if unknown
    std::optional<int> fPort;
    bool fIsRobot = false;
};

/** Returns one row for each middleware of a host, or one without a port if there is none. */
std::vector<HostRow> rowsOf(const AnnouncedHost& host);

/** Lines, each with a line break; safe for a terminal. */
std::string rowHeader();
std::string textOfRow(const HostRow& row);
std::string jsonOfRow(const HostRow& row);

}  // namespace robaxi_tool

#endif
