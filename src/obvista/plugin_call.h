#ifndef OBVISTA_PLUGIN_CALL_H
#define OBVISTA_PLUGIN_CALL_H

#include <functional>
#include <string>

/**
 * Result of a call into a plugin.
 *
 * Plugins are third-party code: every exception is caught here and becomes a value, so that none
 * propagates through Qt's event loop and terminates the program.
 */
struct PluginCall {
    enum class Outcome {
        Returned,
        NotConnected,  ///< KVError: the robot could not be reached
        Failed         ///< anything else
    };

    Outcome fOutcome = Outcome::Returned;
    std::string fError;  ///< the exception's text; empty if the call returned
};

PluginCall callPlugin(const std::function<void()>& call);

#endif
