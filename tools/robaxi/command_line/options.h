#ifndef OBVISTA_TOOLS_ROBAXI_COMMAND_LINE_OPTIONS_H
#define OBVISTA_TOOLS_ROBAXI_COMMAND_LINE_OPTIONS_H

#include <boost/program_options/options_description.hpp>

#include <string>

namespace robaxi_tool {

namespace po = boost::program_options;

/**
 * Adds an option with a whole number; others than `lowest` to `highest` are refused.
 *
 * @param word what --help shows for the value
 */
void addNumber(po::options_description& options, const char* name, const char* word, int* value,
               int standard, int lowest, int highest, const char* description);

/** The same for a decimal number. */
void addNumber(po::options_description& options, const char* name, const char* word, double* value,
               double standard, double lowest, double highest, const char* description);

/** Adds an option with a text. */
void addText(po::options_description& options, const char* name, const char* word,
             std::string* value, const char* description);
/** The same, with what it is when it is not given. */
void addText(po::options_description& options, const char* name, const char* word,
             std::string* value, const std::string& standard, const char* description);

/** Adds an option without a value. */
void addSwitch(po::options_description& options, const char* name, bool* value,
               const char* description);

/** Adds "--timeout": seconds within which the robot must answer. */
void addTimeout(po::options_description& options, int* value);

}  // namespace robaxi_tool

#endif
