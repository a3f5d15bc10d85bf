#ifndef ROBAXI_WARNING_H
#define ROBAXI_WARNING_H

#include <string>

namespace robaxi {

/** Writes one line to standard error for who runs the program: "robaxi: NAME: TEXT". For what
 *  concerns no call and therefore no exception. May be called from any thread. */
void warn(const std::string& brokerName, const std::string& text);

}  // namespace robaxi

#endif
