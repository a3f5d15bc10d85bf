#include "command_line/options.h"

#include "process/failure.h"

#include <boost/program_options/value_semantic.hpp>

#include <sstream>

namespace robaxi_tool {

namespace {

constexpr int a_defaultTimeout = 5;
constexpr int a_longestTimeout = 3600;

template <class Number>
std::string shown(Number number) {
    std::ostringstream text;
    text << number;
    return text.str();
}

template <class Number>
void addAnyNumber(po::options_description& options, const char* name, const char* word,
                  Number* value, Number standard, Number lowest, Number highest,
                  const char* description) {
    const std::string option = name;
    const auto check = [option, lowest, highest](Number number) {
        // Written so that not-a-number is refused.
        if (!(number >= lowest && number <= highest)) {
            throw UsageError("--" + option + " takes " + shown(lowest) + " to " + shown(highest) +
                             ", not " + shown(number));
        }
    };
    options.add_options()(name,
                          po::value<Number>(value)
                              ->value_name(word)
                              ->default_value(standard, shown(standard))
                              ->notifier(check),
                          description);
}

}  // namespace

void addNumber(po::options_description& options, const char* name, const char* word, int* value,
               int standard, int lowest, int highest, const char* description) {
    addAnyNumber(options, name, word, value, standard, lowest, highest, description);
}

void addNumber(po::options_description& options, const char* name, const char* word, double* value,
               double standard, double lowest, double highest, const char* description) {
    addAnyNumber(options, name, word, value, standard, lowest, highest, description);
}

void addText(po::options_description& options, const char* name, const char* word,
             std::string* value, const char* description) {
    options.add_options()(name, po::value<std::string>(value)->value_name(word), description);
}

void addText(po::options_description& options, const char* name, const char* word,
             std::string* value, const std::string& standard, const char* description) {
    options.add_options()(name,
                          po::value<std::string>(value)->value_name(word)->default_value(standard),
                          description);
}

void addSwitch(po::options_description& options, const char* name, bool* value,
               const char* description) {
    options.add_options()(name, po::bool_switch(value), description);
}

void addTimeout(po::options_description& options, int* value) {
    addNumber(options, "timeout", "S", value, a_defaultTimeout, 1, a_longestTimeout,
              "seconds within which the robot must answer");
}

}  // namespace robaxi_tool
