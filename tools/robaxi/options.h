#ifndef OBVISTA_TOOLS_ROBAXI_OPTIONS_H
#define OBVISTA_TOOLS_ROBAXI_OPTIONS_H

#include <boost/program_options/options_description.hpp>

#include <string>

namespace robaxi_tool {

namespace po = boost::program_options;

/** Adds an option with a whole number; others than `lowest` to `highest` are refused. */
void addNumber(po::options_description& options, const char* name, int* value, int standard,
               int lowest, int highest, const char* description);

/** The same for a decimal number. */
void addNumber(po::options_description& options, const char* name, double* value, double standard,
               double lowest, double highest, const char* description);

/** Adds an option without a value. */
void addSwitch(po::options_description& options, const char* name, bool* value,
               const char* description);

/** Adds "--timeout": seconds within which the robot must answer. */
void addTimeout(po::options_description& options, int* value);

}  // namespace robaxi_tool

#endif
