#ifndef BONJOUR_HOST_NAME_H
#define BONJOUR_HOST_NAME_H

#include <cstddef>
#include <string>

namespace KV::bonjour {

/** The longest host name kept, in bytes: that of the domain name system. */
constexpr std::size_t a_maximumHostNameSize = 255;

/**
 * Turns a domain name as Avahi writes it ("caf\195\169.local") into its bytes. A sequence that is
 * no escape stands for itself.
 */
std::string unescapeDomainName(const std::string& name);

/**
 * Makes bytes from the network fit to be kept and shown as a text: UTF-8 of at most
 * a_maximumHostNameSize bytes, in which each byte that is not UTF-8 and each unsafe character has
 * become U+FFFD. Markup stays as it is.
 */
std::string makeSafeHostName(const std::string& bytes);

/**
 * Whether a host name would be read as an IPv4 or IPv6 address, also in the short, octal and
 * hexadecimal ways of writing one, with a zone, or with blanks around it.
 */
bool isAddressLiteral(const std::string& hostName);

/** The host name with ASCII letters in lower case: host names differ by more than their case. */
std::string foldHostName(const std::string& hostName);

}  // namespace KV::bonjour

#endif
