#include "ros2/domain.h"

#include <base/safe_text.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <dds/ddsrt/log.h>
#include <stdexcept>
#include <utility>

namespace bridge {

namespace {

// A larger sample is dropped before its parts are put together. The buffer holds a burst of
// pictures where the system allows it.
constexpr const char* a_limits =
    "<CycloneDDS><Domain><Internal><MaxSampleSize>64 MiB</MaxSampleSize>"
    "<SocketReceiveBufferSize max=\"8 MiB\"/></Internal></Domain></CycloneDDS>";

constexpr std::size_t a_longestLine = 300;  // bytes

/** Names of interfaces have no characters that XML gives a meaning. */
void check(const std::string& interface) {
    const bool isName = std::all_of(interface.begin(), interface.end(), [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '.' || c == '-' || c == '_' || c == ':' || c == '@';
    });
    if (!isName) {
        throw std::runtime_error("'" + interface + "' is not the name of an interface.");
    }
}

void passOn(void* log, const dds_log_data_t* data) {
    std::string line(data->message, data->size);
    while (!line.empty() && line.back() == '\n') {
        line.pop_back();
    }
    static_cast<const DdsLog*>(log)->write(line);
}

std::string configuration(const std::string& interface) {
    std::string result = a_limits;
    const char* const user = std::getenv("CYCLONEDDS_URI");
    if (user != nullptr && *user != '\0') {
        result += std::string(",") + user;
    }
    if (!interface.empty()) {
        check(interface);
        result += ",<CycloneDDS><Domain><General><Interfaces><NetworkInterface name=\"" +
                  interface + "\"/></Interfaces></General></Domain></CycloneDDS>";
    }
    return result;
}

}  // namespace

DdsLog::DdsLog(std::function<void(const std::string&)> say) : fSay(std::move(say)) {
    dds_set_log_sink(passOn, this);
}

DdsLog::~DdsLog() {
    dds_set_log_sink(nullptr, nullptr);
}

void DdsLog::write(const std::string& line) const {
    fSay("DDS: " + base::oneLine(base::shortened(line, a_longestLine)));
}

Entity created(dds_entity_t entity, const std::string& what) {
    if (entity < 0) {
        throw std::runtime_error("DDS: " + what + " cannot be created: " + dds_strretcode(entity) +
                                 ".");
    }
    return Entity(entity);
}

Entity createDomain(int domain, const std::string& interface) {
    const std::string text = configuration(interface);
    const dds_entity_t entity =
        dds_create_domain(static_cast<dds_domainid_t>(domain), text.c_str());
    if (entity < 0) {
        throw std::runtime_error("DDS: domain " + std::to_string(domain) +
                                 " cannot be entered: " + dds_strretcode(entity) +
                                 ". Is the interface up, and CYCLONEDDS_URI correct?");
    }
    return Entity(entity);
}

}  // namespace bridge
