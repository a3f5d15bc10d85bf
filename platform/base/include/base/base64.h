#ifndef BASE_BASE64_H
#define BASE_BASE64_H

#include <string>
#include <string_view>

namespace base {

/** Returns bytes in base64 (RFC 4648, section 4) with padding. */
std::string base64(std::string_view bytes);

}  // namespace base

#endif
