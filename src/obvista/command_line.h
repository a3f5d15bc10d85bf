#ifndef OBVISTA_COMMAND_LINE_H
#define OBVISTA_COMMAND_LINE_H

#include <boost/program_options/options_description.hpp>

#include <string>

namespace obvista {

/**
 * The options of the command line and the variables to which they are bound.
 *
 * The variables are set when a variables map parsed with description() is notified. description()
 * refers to them, so the object must not be moved.
 */
class CommandLine {
  public:
    CommandLine();

    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    const boost::program_options::options_description& description() const { return fDescription; }

    /** Plugin to load at start; empty for none. */
    const std::string& pluginName() const { return fPluginName; }
    /** Robot to which that plugin connects. */
    const std::string& ip() const { return fIP; }
    int port() const { return fPort; }
    /** Passed unchanged to the plugin, which defines its meaning. */
    int brokerPort() const { return fBrokerPort; }

  private:
    boost::program_options::options_description fDescription;
    std::string fPluginName;
    std::string fIP;
    int fPort = 0;
    int fBrokerPort = 0;
};

}  // namespace obvista

#endif
