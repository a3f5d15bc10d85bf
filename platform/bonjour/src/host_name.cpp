#include "host_name.h"

#include <base/address.h>
#include <base/blanks.h>
#include <base/safe_text.h>

#include <boost/algorithm/string/case_conv.hpp>

#include <algorithm>
#include <arpa/inet.h>
#include <cctype>
#include <locale>
#include <netinet/in.h>

namespace KV::bonjour {

namespace {

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

}  // namespace

std::string unescapeDomainName(const std::string& name) {
    std::string bytes;
    for (std::size_t index = 0; index < name.size(); ++index) {
        if (name[index] != '\\' || index + 1 == name.size()) {
            bytes += name[index];
            continue;
        }
        const std::string digits = name.substr(index + 1, 3);
        if (digits.size() == 3 && std::all_of(digits.begin(), digits.end(), isDigit) &&
            digits <= "255") {
            bytes += static_cast<char>(std::stoi(digits));
            index += 3;
        } else {
            bytes += name[++index];
        }
    }
    return bytes;
}

std::string makeSafeHostName(const std::string& bytes) {
    std::string safe;
    for (std::string_view rest = bytes; !rest.empty();) {
        const base::Character character = base::takeCharacter(rest);
        const std::string_view next =
            base::isUnsafe(character.fCode) ? base::a_replacement : character.fBytes;
        if (safe.size() + next.size() > a_maximumHostNameSize) {
            break;
        }
        safe += next;
    }
    return safe;
}

bool isAddressLiteral(const std::string& hostName) {
    const std::string text(base::trimmed(hostName));
    // inet_aton() stops at the first blank and would accept names that only start like an address.
    in_addr ipv4 = {};
    if (text.find_first_of(base::a_blanks) == std::string::npos &&
        inet_aton(text.c_str(), &ipv4) != 0) {
        return true;
    }
    return base::isIPv6(text.substr(0, text.find('%')));
}

std::string foldHostName(const std::string& hostName) {
    return boost::algorithm::to_lower_copy(hostName, std::locale::classic());
}

std::string hostNameFor(const std::string& name) {
    std::string label;
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80 && std::isalnum(byte) != 0) {
            label += c;
        } else if (!label.empty() && label.back() != '-') {
            label += '-';
        }
    }
    while (!label.empty() && label.back() == '-') {
        label.pop_back();
    }
    return (label.empty() ? "robot" : label) + ".local";
}

}  // namespace KV::bonjour
