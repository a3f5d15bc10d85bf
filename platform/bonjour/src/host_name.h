#ifndef BONJOUR_HOST_NAME_H
#define BONJOUR_HOST_NAME_H

#include <cstddef>
#include <string>

namespace KV::bonjour {

/** Maximum size of a stored host name in bytes, as in the domain name system. */
constexpr std::size_t a_maximumHostNameSize = 255;

/**
 * Converts a domain name as Avahi writes it ("caf\195\169.local") into its bytes. An invalid escape
 * sequence is kept as it is.
 */
std::string unescapeDomainName(const std::string& name);

/**
 * Makes bytes from the network safe to store and show as text: UTF-8 of at most
 * a_maximumHostNameSize bytes. Each byte that is not UTF-8 and each unsafe character is replaced by
 * U+FFFD. Markup is kept.
 */
std::string makeSafeHostName(const std::string& bytes);

/**
 * Returns true if a host name could be read as an IPv4 or IPv6 address, including the short, octal
 * and hexadecimal notations, a zone, and surrounding blanks.
 */
bool isAddressLiteral(const std::string& hostName);

/** Returns the host name with ASCII letters in lower case; other characters are kept. */
std::string foldHostName(const std::string& hostName);

/**
 * Returns a host name derived from the name of a robot's services: "my robot" becomes
 * "my-robot.local".
 */
std::string hostNameFor(const std::string& name);

}  // namespace KV::bonjour

#endif
