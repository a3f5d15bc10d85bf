#ifndef ROBAXI_KV_ERROR_H
#define ROBAXI_KV_ERROR_H

#include <robaxi/robaxi_export.h>

#include <exception>
#include <string>

/**
 * The one exception type of the middleware.
 *
 * Exported, so that one thrown inside a plugin is caught by its type in the host. Its text is a
 * sentence for the user that names the module, the address and the port where they are known, and
 * the cause. Copying never throws.
 */
class ROBAXI_EXPORT KVError : public std::exception {
  public:
    /** What went wrong, for a program; the text says it to the user. */
    enum class Cause {
        InvalidArgument,  ///< a port outside 1 to 65535, an empty name, a time-out of 0 or less
        NameNotFound,     ///< the host name does not resolve
        NoRoute,          ///< no route to the address
        Refused,          ///< nothing listens on the port
        TimedOut,         ///< no answer within the time-out
        ProtocolVersion,  ///< the peer speaks another version of the protocol
        NoSuchModule,     ///< the robot has no module of that name
        NoSuchMethod,     ///< the module has no method of that name
        WrongArguments,   ///< number or types of the arguments do not fit the method
        RaisedByModule,   ///< the method ran and reported a failure of its own
        ConnectionLost,   ///< the connection ended while it was in use
        NotAuthorised,    ///< the robot asks for a token or certificate that was not given
        AddressInUse,     ///< the address and port to listen on are taken
        CannotListen,     ///< the address to listen on cannot be used
        TooLarge,         ///< a message above the size limit
        WrongType,        ///< a KVValue was read as a type that it does not hold
        Cancelled,        ///< the caller cancelled, or the broker is being destroyed
        Internal,         ///< anything else
        NoSuchStream,     ///< the module has no camera of that name, or not any more
        NotTrusted,       ///< the robot's certificate is not a trusted one, or it has none
        TooMany           ///< a limit on how many is reached: sessions, subscriptions, modules
    };

    /** @param text the sentence for the user; if it is empty, one is made from the cause */
    KVError(Cause cause, const std::string& text);
    KVError(const KVError&) noexcept;
    KVError& operator=(const KVError&) noexcept;
    ~KVError() override;

    Cause cause() const noexcept;

    /** The sentence for the user, UTF-8. */
    std::string toString() const;

    const char* what() const noexcept override;

  private:
    struct Text;
    Cause fCause;
    Text* fText;  // shared and counted, so that copying cannot throw
};

#endif
