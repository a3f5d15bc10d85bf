#ifndef OBVISTA_TOOLS_ROBAXI_LOWER_CASE_H
#define OBVISTA_TOOLS_ROBAXI_LOWER_CASE_H

#include <string>

namespace robaxi_tool {

/** With small letters for the capitals A to Z, in every locale. */
std::string lowerCase(std::string text);

}  // namespace robaxi_tool

#endif
