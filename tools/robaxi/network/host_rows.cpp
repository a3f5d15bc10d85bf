#include "network/host_rows.h"

#include "values/value_text.h"

#include <base/safe_text.h>
#include <bonjour/bonjour_discovery.h>

#include <iomanip>
#include <sstream>

namespace robaxi_tool {

namespace {

constexpr int a_nameWidth = 24;
constexpr int a_addressWidth = 16;
constexpr int a_portWidth = 7;
constexpr int a_kindWidth = 8;

std::string columns(const std::string& name, const std::string& address, const std::string& port,
                    const std::string& kind, const std::string& announcedName) {
    std::ostringstream line;
    line << std::left << std::setw(a_nameWidth) << name << ' ' << std::setw(a_addressWidth)
         << address << ' ' << std::setw(a_portWidth) << port << std::setw(a_kindWidth) << kind
         << ' ' << announcedName << '\n';
    return line.str();
}

std::string kindOf(const HostRow& row) {
    return row.fIsRobot ? "robot" : "computer";
}

}  // namespace

std::vector<HostRow> rowsOf(const AnnouncedHost& host) {
    HostRow row;
    row.fName = host.name();
    row.fHostName = host.fHostName;
    row.fAddress = host.fAddresses.empty() ? std::string() : host.fAddresses.front();
    row.fIsRobot = host.isRobot();
    std::vector<HostRow> rows;
    for (const KV::BonjourService& service : host.fServices) {
        row.fAnnouncedName = service.fName;
        if (service.fType == KV::BonjourDiscovery::fRobaxiServiceType) {
            row.fPort = service.fPort;
            rows.push_back(row);
        }
    }
    return rows.empty() ? std::vector<HostRow>{row} : rows;
}

std::string rowHeader() {
    return columns("NAME", "ADDRESS", "PORT", "KIND", "ANNOUNCED AS");
}

std::string textOfRow(const HostRow& row) {
    return columns(base::oneLine(row.fName), row.fAddress.empty() ? "-" : row.fAddress,
                   row.fPort ? std::to_string(*row.fPort) : "-", kindOf(row),
                   base::oneLine(row.fAnnouncedName));
}

std::string jsonOfRow(const HostRow& row) {
    const auto orNull = [](bool given, const Json& value) { return given ? value : Json(); };
    return jsonLine({{"name", row.fName},
                     {"host", row.fHostName},
                     {"address", orNull(!row.fAddress.empty(), row.fAddress)},
                     {"port", orNull(row.fPort.has_value(), row.fPort.value_or(0))},
                     {"kind", kindOf(row)},
                     {"announced", row.fAnnouncedName}});
}

}  // namespace robaxi_tool
