#include "plugin_call.h"

#include <robaxi/kv_error.h>

#include <exception>

PluginCall callPlugin(const std::function<void()>& call) {
    try {
        call();
    } catch (const KVError& error) {
        return {PluginCall::Outcome::NotConnected, error.toString()};
    } catch (const std::exception& error) {
        return {PluginCall::Outcome::Failed, error.what()};
    } catch (...) {
        return {PluginCall::Outcome::Failed, "The plugin threw an exception of an unknown type."};
    }
    return {};
}
