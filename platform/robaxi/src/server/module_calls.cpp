#include "server/module_calls.h"

#include "failure.h"
#include "wire/message_codec.h"
#include "wire/value_codec.h"

namespace robaxi {

namespace {

KVValue::List decodeArguments(const v1::Call& call, int deepest) {
    KVValue::List arguments;
    arguments.reserve(static_cast<std::size_t>(call.arguments_size()));
    for (const v1::Value& argument : call.arguments()) {
        arguments.push_back(decodeValue(argument, deepest));
    }
    return arguments;
}

void setError(KVError::Cause cause, const std::string& text, bool byMethod, v1::Result* result) {
    if (result == nullptr) {
        return;
    }
    v1::Error* error = result->mutable_error();
    encodeError(cause, text, error);
    error->set_by_method(byMethod);
}

}  // namespace

void runCall(HostedModules& modules, const v1::Call& call, const KVSettings::Limits& limits,
             v1::Result* result) {
    try {
        const KVValue value =
            modules.invoke(call.module(), call.method(), decodeArguments(call, limits.fDepth));
        if (result == nullptr) {
            return;
        }
        encodeValue(value, result->mutable_value(), limits.fDepth);
        if (result->ByteSizeLong() > limits.fMessage) {
            throw Failure{KVError::Cause::TooLarge, "the result"};
        }
    } catch (const Failure& failure) {
        setError(failure.fCause, failure.fDetail, false, result);
    } catch (const RefusedCall& error) {
        setError(error.cause(), error.toString(), false, result);
    } catch (const KVError& error) {
        setError(error.cause(), error.toString(), true, result);
    }
}

bool listModules(const HostedModules& modules, const std::string& name, v1::ModuleList* list) {
    for (const KVModuleInfo& info : modules.getInfos()) {
        if (name.empty() || name == info.fName) {
            encodeModule(info, list->add_modules());
        }
    }
    return name.empty() || list->modules_size() != 0;
}

}  // namespace robaxi
