// The requests of a session: encoding, decoding, and failures as sentences for the user.
#include "client/client_session.h"
#include "wire/message_codec.h"
#include "wire/value_codec.h"

#include <base/safe_text.h>

namespace robaxi {

namespace {

v1::ClientMessage makeCall(const Target& target, const KVValue::List& arguments, int deepest) {
    v1::ClientMessage message;
    v1::Call* call = message.mutable_call();
    call->set_module(base::validUtf8(target.fModule));
    call->set_method(base::validUtf8(target.fMethod));
    for (const KVValue& argument : arguments) {
        encodeValue(argument, call->add_arguments(), deepest);
    }
    return message;
}

[[noreturn]] void throwError(const Target& target, const v1::Error& error) {
    const KVError::Cause cause = decodeCause(error.cause());
    if (error.by_method() && !error.text().empty()) {
        throw KVError(cause, error.text());
    }
    throw describe(target, {cause, error.text()});
}

}  // namespace

std::vector<KVModuleInfo> ClientSession::listModules(const Target& target, CallOwner& owner,
                                                     Deadline deadline) {
    v1::ClientMessage question;
    question.mutable_list_modules()->set_module(base::validUtf8(target.fModule));
    v1::ServerMessage answer;
    try {
        answer = xRequest(std::move(question), owner, deadline);
    } catch (const Failure& failure) {
        throw describe(target, failure);
    }
    if (!answer.has_module_list()) {
        throwError(target, answer.result().error());
    }
    std::vector<KVModuleInfo> modules;
    for (const v1::Module& module : answer.module_list().modules()) {
        modules.push_back(decodeModule(module));
    }
    return modules;
}

KVValue ClientSession::call(const Target& target, const KVValue::List& arguments, CallOwner& owner,
                            Deadline deadline) {
    v1::ServerMessage answer;
    try {
        answer = xRequest(makeCall(target, arguments, fLimits.fDepth), owner, deadline);
        if (answer.result().has_value()) {
            return decodeValue(answer.result().value(), fLimits.fDepth);
        }
    } catch (const Failure& failure) {
        throw describe(target, failure);
    }
    throwError(target, answer.result().error());
}

int ClientSession::post(const Target& target, const KVValue::List& arguments,
                        const CallOwner& owner, Deadline deadline) {
    try {
        xPost(makeCall(target, arguments, fLimits.fDepth), owner, deadline);
    } catch (const Failure& failure) {
        throw describe(target, failure);
    }
    return xNextTaskId();
}

}  // namespace robaxi
