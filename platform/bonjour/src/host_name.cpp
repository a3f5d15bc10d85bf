#include "host_name.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdint>
#include <netinet/in.h>

namespace KV::bonjour {

namespace {

const char* const a_replacement = "\xEF\xBF\xBD";
const char* const a_blanks = " \t\n\v\f\r";

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

/** One character of a UTF-8 text; a size of 0 stands for a byte that begins none. */
struct Character {
    char32_t fCode = 0;
    std::size_t fSize = 0;
};

struct SequenceForm {
    std::size_t fSize;
    char32_t fSmallest;
    unsigned char fMask;
    unsigned char fLead;
};

constexpr SequenceForm a_sequenceForms[] = {
    {1, 0x0, 0x80, 0x00},
    {2, 0x80, 0xE0, 0xC0},
    {3, 0x800, 0xF0, 0xE0},
    {4, 0x10000, 0xF8, 0xF0},
};

bool isCodePoint(char32_t code) {
    return code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
}

Character readSequence(const std::string& text, std::size_t position, const SequenceForm& form) {
    if (text.size() - position < form.fSize) {
        return {};
    }
    char32_t code =
        static_cast<unsigned char>(text[position]) & static_cast<std::uint8_t>(~form.fMask);
    for (std::size_t index = 1; index < form.fSize; ++index) {
        const auto byte = static_cast<unsigned char>(text[position + index]);
        if ((byte & 0xC0) != 0x80) {
            return {};
        }
        code = (code << 6) | (byte & 0x3FU);
    }
    if (code < form.fSmallest || !isCodePoint(code)) {
        return {};
    }
    return {code, form.fSize};
}

Character readCharacter(const std::string& text, std::size_t position) {
    const auto lead = static_cast<unsigned char>(text[position]);
    for (const SequenceForm& form : a_sequenceForms) {
        if ((lead & form.fMask) == form.fLead) {
            return readSequence(text, position, form);
        }
    }
    return {};
}

bool isUnsafe(char32_t code) {
    const bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
    const bool lineBreak = code == 0x2028 || code == 0x2029;
    const bool direction = code == 0x061C || code == 0x200E || code == 0x200F ||
                           (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
    return control || lineBreak || direction;
}

std::string trim(const std::string& text) {
    const std::size_t first = text.find_first_not_of(a_blanks);
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(a_blanks) - first + 1);
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
    std::size_t position = 0;
    while (position < bytes.size()) {
        const Character character = readCharacter(bytes, position);
        const std::size_t size = std::max<std::size_t>(character.fSize, 1);
        const std::string next = character.fSize == 0 || isUnsafe(character.fCode)
                                     ? a_replacement
                                     : bytes.substr(position, size);
        if (safe.size() + next.size() > a_maximumHostNameSize) {
            break;
        }
        safe += next;
        position += size;
    }
    return safe;
}

bool isAddressLiteral(const std::string& hostName) {
    const std::string text = trim(hostName);
    // inet_aton() reads up to the first blank, which would catch names that only begin like one.
    in_addr ipv4 = {};
    if (text.find_first_of(a_blanks) == std::string::npos && inet_aton(text.c_str(), &ipv4) != 0) {
        return true;
    }
    in6_addr ipv6 = {};
    return inet_pton(AF_INET6, text.substr(0, text.find('%')).c_str(), &ipv6) == 1;
}

std::string foldHostName(const std::string& hostName) {
    std::string folded = hostName;
    for (char& character : folded) {
        if (character >= 'A' && character <= 'Z') {
            character = static_cast<char>(character - 'A' + 'a');
        }
    }
    return folded;
}

}  // namespace KV::bonjour
