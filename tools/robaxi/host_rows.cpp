#include "host_rows.h"

#include "safe_text.h"
#include "value_text.h"

#include <iomanip>
#include <sstream>

namespace robaxi_tool {

namespace {

constexpr int a_nameWidth = 24;
constexpr int a_addressWidth = 16;
constexpr int a_portWidth = 7;

std::string columns(const std::string& name, const std::string& address, const std::string& port,
                    const std::string& kind) {
    std::ostringstream line;
    line << std::left << std::setw(a_nameWidth) << name << ' ' << std::setw(a_addressWidth)
         << address << ' ' << std::setw(a_portWidth) << port << kind << '\n';
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
    const std::vector<int> ports = host.ports();
    if (ports.empty()) {
        return {row};
    }
    std::vector<HostRow> rows;
    for (const int port : ports) {
        row.fPort = port;
        rows.push_back(row);
    }
    return rows;
}

std::string rowHeader() {
    return columns("NAME", "ADDRESS", "PORT", "KIND");
}

std::string textOfRow(const HostRow& row) {
    return columns(oneLine(row.fName), row.fAddress.empty() ? "-" : row.fAddress,
                   row.fPort ? std::to_string(*row.fPort) : "-", kindOf(row));
}

std::string jsonOfRow(const HostRow& row) {
    const auto orNull = [](bool given, const Json& value) { return given ? value : Json(); };
    return jsonLine({{"name", row.fName},
                     {"host", row.fHostName},
                     {"address", orNull(!row.fAddress.empty(), row.fAddress)},
                     {"port", orNull(row.fPort.has_value(), row.fPort.value_or(0))},
                     {"kind", kindOf(row)}});
}

}  // namespace robaxi_tool
