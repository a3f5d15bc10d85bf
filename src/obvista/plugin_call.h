#ifndef OBVISTA_PLUGIN_CALL_H
#define OBVISTA_PLUGIN_CALL_H

#include <functional>
#include <string>

/**
 * What became of a call into a plugin.
 *
 * Plugins are other people's code: whatever they throw ends here and becomes a value, so that no
 * exception travels through Qt's event loop and ends the program.
 */
struct PluginCall {
    enum class Outcome {
        Returned,
        NotConnected,  ///< KVError: the robot could not be reached
        Failed         ///< anything else
    };

    Outcome fOutcome = Outcome::Returned;
    std::string fError;  ///< the exception's own text, empty when the call returned
};

PluginCall callPlugin(const std::function<void()>& call);

#endif
