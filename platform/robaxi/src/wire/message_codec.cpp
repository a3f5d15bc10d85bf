#include "wire/message_codec.h"

#include "failure.h"
#include "wire/value_codec.h"

#include <base/safe_text.h>

#include <array>
#include <utility>

namespace robaxi {

namespace {

using CausePair = std::pair<KVError::Cause, v1::Error::Cause>;

constexpr std::array<CausePair, 22> a_causes{{
    {KVError::Cause::InvalidArgument, v1::Error::INVALID_ARGUMENT},
    {KVError::Cause::NoSuchModule, v1::Error::NO_SUCH_MODULE},
    {KVError::Cause::NoSuchMethod, v1::Error::NO_SUCH_METHOD},
    {KVError::Cause::WrongArguments, v1::Error::WRONG_ARGUMENTS},
    {KVError::Cause::RaisedByModule, v1::Error::RAISED_BY_MODULE},
    {KVError::Cause::NotAuthorised, v1::Error::NOT_AUTHORISED},
    {KVError::Cause::TooLarge, v1::Error::TOO_LARGE},
    {KVError::Cause::WrongType, v1::Error::WRONG_TYPE},
    {KVError::Cause::Cancelled, v1::Error::CANCELLED},
    {KVError::Cause::NameNotFound, v1::Error::NAME_NOT_FOUND},
    {KVError::Cause::NoRoute, v1::Error::NO_ROUTE},
    {KVError::Cause::Refused, v1::Error::REFUSED},
    {KVError::Cause::TimedOut, v1::Error::TIMED_OUT},
    {KVError::Cause::ProtocolVersion, v1::Error::PROTOCOL_VERSION},
    {KVError::Cause::ConnectionLost, v1::Error::CONNECTION_LOST},
    {KVError::Cause::AddressInUse, v1::Error::ADDRESS_IN_USE},
    {KVError::Cause::CannotListen, v1::Error::CANNOT_LISTEN},
    {KVError::Cause::NoSuchStream, v1::Error::NO_SUCH_STREAM},
    {KVError::Cause::NotTrusted, v1::Error::NOT_TRUSTED},
    {KVError::Cause::TooMany, v1::Error::TOO_MANY},
    // After the cause with which NotAuthorised is encoded.
    {KVError::Cause::NotAuthorised, v1::Error::TOKEN_MISSING},
    {KVError::Cause::NotAuthorised, v1::Error::TOKEN_WRONG},
}};

v1::Error::Cause encodeCause(KVError::Cause cause) {
    for (const CausePair& pair : a_causes) {
        if (pair.first == cause) {
            return pair.second;
        }
    }
    return v1::Error::INTERNAL;
}

}  // namespace

void encodeError(KVError::Cause cause, const std::string& text, v1::Error* message) {
    message->set_cause(encodeCause(cause));
    constexpr std::size_t longestText = 65536;
    message->set_text(base::validUtf8(base::beginning(text, longestText)));
}

KVError::Cause decodeCause(v1::Error::Cause cause) {
    for (const CausePair& pair : a_causes) {
        if (pair.second == cause) {
            return pair.first;
        }
    }
    return KVError::Cause::Internal;
}

void encodeModule(const KVModuleInfo& info, v1::Module* message) {
    message->set_name(base::validUtf8(info.fName));
    message->set_description(base::validUtf8(info.fDescription));
    message->set_has_values(info.fHasValues);
    message->set_has_frames(info.fHasFrames);
    for (const KVMethodInfo& method : info.fMethods) {
        v1::Method* added = message->add_methods();
        added->set_name(base::validUtf8(method.fName));
        added->set_signature(base::validUtf8(method.fSignature));
        added->set_description(base::validUtf8(method.fDescription));
    }
}

KVModuleInfo decodeModule(const v1::Module& message) {
    KVModuleInfo info;
    info.fName = message.name();
    info.fDescription = message.description();
    info.fHasValues = message.has_values();
    info.fHasFrames = message.has_frames();
    for (const v1::Method& method : message.methods()) {
        info.fMethods.push_back({method.name(), method.signature(), method.description()});
    }
    return info;
}

void encodeKey(const KVKeyInfo& info, v1::Key* message) {
    message->set_id(info.fId);
    message->set_name(base::validUtf8(info.fName));
    message->set_unit(base::validUtf8(info.fUnit));
    message->set_description(base::validUtf8(info.fDescription));
    message->set_type(static_cast<v1::Value::Type>(info.fType));
    message->set_writable(info.fWritable);
    if (info.fRange) {
        message->mutable_range()->set_lowest(info.fRange->fLowest);
        message->mutable_range()->set_highest(info.fRange->fHighest);
    }
}

KVKeyInfo decodeKey(const v1::Key& message) {
    if (message.id() == 0 || message.name().empty()) {
        throw Failure{KVError::Cause::Internal, "a key has no identifier or no name"};
    }
    KVKeyInfo info{message.id(),
                   message.name(),
                   message.unit(),
                   message.description(),
                   decodeType(message.type()),
                   message.writable()};
    const KVRange range{message.range().lowest(), message.range().highest()};
    if (message.has_range() && range.isValid()) {
        info.fRange = range;
    }
    return info;
}

}  // namespace robaxi
