#include "error_sentences.h"

#include <sstream>

namespace robaxi {

namespace {

std::string place(const std::string& address, int port) {
    return address + " port " + std::to_string(port);
}

std::string seconds(double time) {
    std::ostringstream text;
    text << time << " s";
    return text.str();
}

std::string peer(const Target& target) {
    const std::string where = place(target.fAddress, target.fPort);
    return target.fModule.empty() ? where : "the module " + target.fModule + " at " + where;
}

std::string attempt(const Target& target) {
    if (target.fMethod.empty()) {
        return "Cannot reach " + peer(target);
    }
    return "The call of " + target.fModule + "." + target.fMethod + " at " +
           place(target.fAddress, target.fPort) + " failed";
}

std::string reason(const Target& target, const Failure& failure) {
    switch (failure.fCause) {
        case KVError::Cause::TimedOut:
            return "no answer came within " + seconds(target.fTimeOut);
        case KVError::Cause::NoSuchModule:
            return "there is no module named " + target.fModule;
        case KVError::Cause::InvalidArgument:
        case KVError::Cause::NoSuchMethod:
        case KVError::Cause::WrongArguments:
        case KVError::Cause::RaisedByModule:
        case KVError::Cause::WrongType:
        case KVError::Cause::Internal:
            // Their detail is usually a reason.
            return failure.fDetail.empty() ? reasonOf(failure.fCause) : "";
        default:
            return reasonOf(failure.fCause);
    }
}

const char* advice(const Target& target, KVError::Cause cause) {
    if (cause == KVError::Cause::TimedOut && !target.fMethod.empty()) {
        // The connection is intact, otherwise it would be lost.
        return "The method may take longer than that; the robot continues to run it.";
    }
    switch (cause) {
        case KVError::Cause::NameNotFound:
            return "Check the spelling, or use the numeric address.";
        case KVError::Cause::NoRoute:
            return "Check that this computer is on the robot's network.";
        case KVError::Cause::Refused:
            return "Check that the robot's middleware is running and that the port is right.";
        case KVError::Cause::TimedOut:
            return "Check that the robot is switched on and on this network, and that no firewall "
                   "blocks the connection.";
        case KVError::Cause::ProtocolVersion:
            return "Check the port, and that robot and program are of matching versions.";
        case KVError::Cause::NoSuchModule:
            return "Check the module's name, and that it is started on the robot.";
        case KVError::Cause::NoSuchStream:
            return "Choose one of the cameras that it has now.";
        case KVError::Cause::ConnectionLost:
            return "Check that the robot is still running and connected, then connect again.";
        case KVError::Cause::NotAuthorised:
            return "Ask the robot's owner for access.";
        case KVError::Cause::NotTrusted:
            return "Check trust and name for this robot in robaxi.conf, and that nobody "
                   "intercepts the connection.";
        case KVError::Cause::TooMany:
            return "End what is not needed, or raise the robot's limit.";
        case KVError::Cause::TooLarge:
            return "Send it in smaller parts.";
        default:
            return "";
    }
}

KVError sentence(const std::string& attempt, const std::string& reason, const Failure& failure,
                 const std::string& advice) {
    std::string detail = failure.fDetail;
    if (!detail.empty() && detail.back() == '.') {
        detail.pop_back();
    }
    std::string why = reason;
    if (!detail.empty()) {
        why = why.empty() ? detail : why + " (" + detail + ")";
    }
    const std::string text = attempt + (why.empty() ? "" : ": " + why) + ".";
    const std::string& next = failure.fAdvice.empty() ? advice : failure.fAdvice;
    return KVError(failure.fCause, next.empty() ? text : text + " " + next);
}

}  // namespace

const char* reasonOf(KVError::Cause cause) {
    switch (cause) {
        case KVError::Cause::InvalidArgument:
            return "an argument is invalid";
        case KVError::Cause::NameNotFound:
            return "the name does not resolve to an address";
        case KVError::Cause::NoRoute:
            return "there is no route to that address";
        case KVError::Cause::Refused:
            return "nothing listens on that port";
        case KVError::Cause::TimedOut:
            return "no answer came in time";
        case KVError::Cause::ProtocolVersion:
            return "the program there does not speak this version of the Robaxi protocol";
        case KVError::Cause::NoSuchModule:
            return "there is no module of that name";
        case KVError::Cause::NoSuchMethod:
            return "the module has no method of that name";
        case KVError::Cause::WrongArguments:
            return "the arguments do not match the method";
        case KVError::Cause::RaisedByModule:
            return "the module reported a failure without a reason";
        case KVError::Cause::ConnectionLost:
            return "the connection is lost";
        case KVError::Cause::NotAuthorised:
            return "the robot refuses access";
        case KVError::Cause::AddressInUse:
            return "the port is in use by another program";
        case KVError::Cause::CannotListen:
            return "the address cannot be used";
        case KVError::Cause::TooLarge:
            return "a message is larger than the limit";
        case KVError::Cause::WrongType:
            return "a value is not of the requested type";
        case KVError::Cause::Cancelled:
            return "it was cancelled";
        case KVError::Cause::NoSuchStream:
            return "it has no camera of that name";
        case KVError::Cause::NotTrusted:
            return "the robot cannot be authenticated";
        case KVError::Cause::TooMany:
            return "a limit of the robot is reached";
        case KVError::Cause::Internal:
            break;
    }
    return "an internal error happened";
}

KVError describe(const Target& target, const Failure& failure) {
    if (failure.fCause == KVError::Cause::ConnectionLost && target.fMethod.empty()) {
        return sentence("The connection to " + peer(target) + " is lost", {}, failure,
                        advice(target, failure.fCause));
    }
    return sentence(attempt(target), reason(target, failure), failure,
                    advice(target, failure.fCause));
}

KVError describeListening(const std::string& address, int port, const Failure& failure) {
    const std::string given = address.empty() ? std::string("all addresses") : address;
    const std::string where = port == 0 ? given : place(given, port);
    if (failure.fCause == KVError::Cause::AddressInUse) {
        return sentence("Cannot listen on " + where, reasonOf(failure.fCause), failure,
                        "Choose another port, or end that program.");
    }
    if (failure.fCause == KVError::Cause::InvalidArgument) {
        return sentence("Cannot listen on " + where, {}, failure, {});
    }
    return sentence("Cannot listen on " + where, "the address cannot be used", failure,
                    "Choose an address of this computer and a port that this user may open.");
}

}  // namespace robaxi
