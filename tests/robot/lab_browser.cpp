#include "lab_browser.h"

#include <chrono>

using obvista_test::ChildProcess;

namespace lab_test {

Browser::Browser(const std::string& type)
    : fType(type),
      // Unbuffered, since its output to a pipe would arrive late.
      fProcess({"stdbuf", "-oL", "avahi-browse", "--parsable", "--resolve", type}) {
}

bool Browser::saw(const std::string& line, ChildProcess::Timeout timeout) {
    return fProcess.waitForOutput(line, timeout);
}

bool Browser::lost(const std::string& name) {
    return fProcess.waitForOutput(xLossOf(name));
}

bool Browser::hasLost(const std::string& name) const {
    return output().find(xLossOf(name)) != std::string::npos;
}

std::string Browser::xLossOf(const std::string& name) const {
    return "-;eth0;IPv4;" + name + ';' + fType + ';';
}

std::string resolved(const std::string& name, const std::string& type, int port,
                     const std::string& host, const std::string& address) {
    return "=;eth0;IPv4;" + name + ';' + type + ";local;" + host + ';' + address + ';' +
           std::to_string(port) + ';';
}

bool isSeenInTheEnd(const std::string& type, const std::string& line) {
    const auto end = std::chrono::steady_clock::now() + ChildProcess::a_patience;
    while (std::chrono::steady_clock::now() < end) {
        if (Browser(type).saw(line, std::chrono::seconds(2))) {
            return true;
        }
    }
    return false;
}

}  // namespace lab_test
