#ifndef OBVISTA_TOOLS_ROBAXI_NETWORK_ALIASES_H
#define OBVISTA_TOOLS_ROBAXI_NETWORK_ALIASES_H

#include "network/target.h"

#include <map>
#include <string>

namespace robaxi_tool {

/** HOST by alias. */
using Aliases = std::map<std::string, std::string>;

/** Returns "robaxi.aliases" in the folder of the user's settings. @throws Failure WrongUsage */
std::string aliasFile();

/**
 * Reads the aliases of a file; there are none if it does not exist. A line is NAME = HOST, empty,
 * or a comment that begins with "#".
 *
 * @throws Failure WrongUsage with a sentence that names file and line
 */
Aliases readAliases(const std::string& file);

/**
 * Sets or removes an alias in a file; its other lines stay as they are. Processes that do so at the
 * same time wait for one another.
 *
 * @param host empty to remove the alias
 * @throws Failure
 */
void writeAlias(const std::string& file, const std::string& name, const std::string& host);

/**
 * Checks that an alias consists of ASCII letters, digits, "-", "_" and "." and is not an address.
 *
 * @throws UsageError
 */
void checkAliasName(const std::string& name);

/**
 * Parses HOST and replaces an alias by its host; a port that is given replaces the alias's.
 *
 * @throws UsageError, Failure
 */
Target givenTarget(const std::string& text);

}  // namespace robaxi_tool

#endif
