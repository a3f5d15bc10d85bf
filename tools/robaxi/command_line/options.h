#ifndef OBVISTA_TOOLS_ROBAXI_COMMAND_LINE_OPTIONS_H
#define OBVISTA_TOOLS_ROBAXI_COMMAND_LINE_OPTIONS_H

#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace robaxi_tool {

/**
 * The options of one command, declared once for the parser, the help, the manual page and
 * completion.
 *
 * Based on CLI11, whose headers take seconds to compile, so only this class includes them.
 */
class Options {
  public:
    /** One line of the help. */
    struct Entry {
        std::string fTerm;  ///< for instance "--rate HZ (=10)"
        std::string fDescription;
    };

    Options();
    ~Options();
    Options(const Options&) = delete;
    Options& operator=(const Options&) = delete;

    /**
     * Adds an option with a number, an int or a double, from `lowest` to `highest`.
     *
     * @param name with its dashes, for instance "--count"
     * @param word the kind of the value, as shown by help and completion
     */
    template <class Number>
    void addNumber(const char* name, const char* word, Number* value, Number standard,
                   Number lowest, Number highest, const char* description);

    /**
     * Adds an option with a text.
     *
     * @param name for instance "-o,--output"
     * @param word a kind known to completion (HOST, MODULE, FILE...), or the values: "auto|never"
     * @param standard the value if the option is not given
     */
    void addText(const char* name, const char* word, std::string* value, const char* description,
                 const std::string& standard = {});

    /** Adds an option with a text that may be given several times. */
    void addTexts(const char* name, const char* word, std::vector<std::string>* values,
                  const char* description);

    /** Adds an option without a value. */
    void addSwitch(const char* name, bool* value, const char* description);

    /** Adds "--timeout": seconds within which the robot must answer. */
    void addTimeout(int* value);

    /** Adds "--help", which overrides errors in the other arguments. */
    void addHelp(bool* wanted);

    /**
     * Parses the arguments. Options may appear anywhere among the words; negative numbers, and
     * everything after "--", are words.
     *
     * @return the words
     * @throws UsageError
     */
    std::vector<std::string> parse(const std::vector<std::string>& arguments);

    std::vector<Entry> entries() const;
    /** Returns the options as lines with two columns. */
    std::string help() const;

  private:
    std::vector<std::string> xWords() const;
    std::vector<std::string> xNames() const;

    std::unique_ptr<CLI::App> fApp;
};

/**
 * Returns " (did you mean '...'?)" with the known name closest to a mistyped one; empty if none is
 * close.
 */
std::string suggestion(const std::string& mistyped, const std::vector<std::string>& known);

}  // namespace robaxi_tool

#endif
