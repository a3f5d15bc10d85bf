#include "command_line/options.h"

#include "process/failure.h"

#include <boost/lexical_cast/try_lexical_convert.hpp>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <cctype>
#include <numeric>
#include <sstream>

namespace robaxi_tool {

namespace {

constexpr int a_defaultTimeout = 5;
constexpr int a_longestTimeout = 3600;
constexpr std::size_t a_termWidth = 30;
constexpr std::size_t a_mostEdits = 2;  ///< between a mistyped name and the intended one

template <class Number>
std::string shown(Number number) {
    std::ostringstream text;
    text << number;
    return text.str();
}

bool isNegativeNumber(const std::string& word) {
    return word.size() > 1 && word[0] == '-' &&
           (word[1] == '.' || std::isdigit(static_cast<unsigned char>(word[1])) != 0);
}

bool isOption(const std::string& word) {
    return word.size() > 1 && word[0] == '-' && !isNegativeNumber(word);
}

/** CLI11 would use the next argument as the value. */
void refuseEmptyValues(const std::vector<std::string>& arguments) {
    for (const std::string& argument : arguments) {
        if (argument == "--") {
            return;
        }
        if (argument.size() > 3 && argument.compare(0, 2, "--") == 0 && argument.back() == '=' &&
            argument.find('=') == argument.size() - 1) {
            throw UsageError("the value after '" + argument + "' is missing");
        }
    }
}

std::string sentenceOf(const CLI::ArgumentMismatch& mistake) {
    // It begins with the name of the option, without its dashes if the option is a switch.
    const std::string text = mistake.what();
    const std::string name = text.substr(0, text.find_first_of(": "));
    return name[0] == '-' ? name + " requires one value" : "--" + name + " takes no value";
}

/**
 * Returns the number of characters to insert, delete or replace to turn one text into the other.
 */
std::size_t editDistance(const std::string& one, const std::string& other) {
    std::vector<std::size_t> row(other.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < one.size(); ++i) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < other.size(); ++j) {
            const std::size_t replaced = diagonal + (one[i] == other[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

}  // namespace

Options::Options() : fApp(std::make_unique<CLI::App>()) {
    fApp->set_help_flag();
    fApp->allow_extras();
}

Options::~Options() = default;

template <class Number>
void Options::addNumber(const char* name, const char* word, Number* value, Number standard,
                        Number lowest, Number highest, const char* description) {
    *value = standard;
    const std::string option = name;
    const auto take = [=](const std::string& text) {
        // Written so that NaN is refused.
        if (!boost::conversion::try_lexical_convert(text, *value) ||
            !(*value >= lowest && *value <= highest)) {
            throw UsageError(option + " must be from " + shown(lowest) + " to " + shown(highest) +
                             ", not " + text);
        }
    };
    fApp->add_option_function<std::string>(name, take, description)
        ->option_text(std::string(word) + " (=" + shown(standard) + ')');
}

template void Options::addNumber(const char*, const char*, int*, int, int, int, const char*);
template void Options::addNumber(const char*, const char*, double*, double, double, double,
                                 const char*);

void Options::addText(const char* name, const char* word, std::string* value,
                      const char* description, const std::string& standard) {
    *value = standard;
    fApp->add_option(name, *value, description)
        ->option_text(word + (standard.empty() ? "" : " (=" + standard + ')'));
}

void Options::addTexts(const char* name, const char* word, std::vector<std::string>* values,
                       const char* description) {
    fApp->add_option(name, *values, description)
        ->option_text(std::string(word) + "...")
        ->allow_extra_args(false);
}

void Options::addSwitch(const char* name, bool* value, const char* description) {
    fApp->add_flag(name, *value, description)->disable_flag_override();
}

void Options::addTimeout(int* value) {
    addNumber("--timeout", "S", value, a_defaultTimeout, 1, a_longestTimeout,
              "seconds within which the robot must answer");
}

void Options::addHelp(bool* wanted) {
    const auto stop = [wanted] {
        *wanted = true;
        throw CLI::CallForHelp();
    };
    fApp->add_flag_callback("-h,--help", stop, "print this help and exit")
        ->disable_flag_override()
        ->trigger_on_parse();
}

std::vector<std::string> Options::parse(const std::vector<std::string>& arguments) {
    refuseEmptyValues(arguments);
    try {
        fApp->parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        return {};
    } catch (const CLI::ArgumentMismatch& mistake) {
        throw UsageError(sentenceOf(mistake));
    } catch (const CLI::ParseError& mistake) {
        throw UsageError(mistake.what());
    }
    return xWords();
}

std::vector<std::string> Options::xWords() const {
    std::vector<std::string> words;
    bool areOptionsOver = false;
    for (const std::string& word : fApp->remaining()) {
        if (areOptionsOver || !isOption(word)) {
            words.push_back(word);
        } else if (word == "--") {
            areOptionsOver = true;
        } else {
            const std::string name = word.substr(0, word.find('='));
            throw UsageError("there is no option '" + name + '\'' + suggestion(name, xNames()));
        }
    }
    return words;
}

std::vector<std::string> Options::xNames() const {
    std::vector<std::string> names;
    for (const CLI::Option* option : fApp->get_options()) {
        names.push_back(option->get_name());
    }
    return names;
}

std::vector<Options::Entry> Options::entries() const {
    std::vector<Entry> entries;
    for (const CLI::Option* option : fApp->get_options()) {
        const std::string& value = option->get_option_text();
        entries.push_back({option->get_name(false, true) + (value.empty() ? "" : ' ' + value),
                           option->get_description()});
    }
    return entries;
}

std::string Options::help() const {
    CLI::Formatter formatter;
    formatter.column_width(a_termWidth);
    return formatter.make_groups(fApp.get(), CLI::AppFormatMode::Normal);
}

std::string suggestion(const std::string& mistyped, const std::vector<std::string>& known) {
    const auto distance = [&](const std::string& name) { return editDistance(mistyped, name); };
    const auto nearest = std::min_element(known.begin(), known.end(),
                                          [&](const std::string& one, const std::string& other) {
                                              return distance(one) < distance(other);
                                          });
    const bool isNear =
        nearest != known.end() && distance(*nearest) <= std::min(a_mostEdits, mistyped.size() / 2);
    return isNear ? " (did you mean '" + *nearest + "'?)" : "";
}

}  // namespace robaxi_tool
