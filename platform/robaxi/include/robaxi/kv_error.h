#ifndef ROBAXI_KV_ERROR_H
#define ROBAXI_KV_ERROR_H

#include <robaxi/robaxi_export.h>

#include <exception>
#include <string>

/**
 * The only exception type of the middleware.
 *
 * It is exported, so that the host can catch by type what a plugin throws. Its text is a sentence
 * for the user that names the cause and, where known, the module, the address and the port. Copying
 * never throws.
 */
class ROBAXI_EXPORT KVError : public std::exception {
  public:
    /** Kind of error, for programs; the text describes it for the user. */
    enum class Cause {
        InvalidArgument,  ///< a port outside 1 to 65535, an empty name, a time-out of 0 or less
        NameNotFound,     ///< the host name does not resolve
        NoRoute,          ///< no route to the address
        Refused,          ///< nothing listens on the port
        TimedOut,         ///< no answer within the time-out
        ProtocolVersion,  ///< the peer uses another version of the protocol
        NoSuchModule,     ///< the robot has no module of that name
        NoSuchMethod,     ///< the module has no method of that name
        WrongArguments,   ///< number or types of the arguments do not match the method
        RaisedByModule,   ///< the method ran and reported a failure
        ConnectionLost,   ///< the connection ended while it was in use
        NotAuthorised,    ///< the robot requires a token or certificate that was not given
        AddressInUse,     ///< the address and port to listen on are taken
        CannotListen,     ///< the address to listen on cannot be used
        TooLarge,         ///< a message exceeds the size limit
        WrongType,        ///< a KVValue was read as a type that it does not have
        Cancelled,        ///< the caller cancelled, or the broker is being destroyed
        Internal,         ///< anything else
        NoSuchStream,     ///< the module has no camera of that name, or no longer
        NotTrusted,       ///< the robot's certificate is not trusted, or it has none
        TooMany           ///< a limit is reached: sessions, subscriptions, modules
    };

    /** @param text the sentence for the user; if empty, a text for the cause is used */
    KVError(Cause cause, const std::string& text);
    KVError(const KVError&) noexcept;             ///< Shares the texts
    KVError& operator=(const KVError&) noexcept;  ///< Shares the texts
    ~KVError() override;

    Cause cause() const noexcept;  ///< Returns the cause, for the program.

    /** Returns the sentence for the user, UTF-8. */
    std::string toString() const;

    const char* what() const noexcept override;  ///< Returns the text of toString().

  private:
    struct Text;
    Cause fCause;
    Text* fText;  // shared and counted, so that copying cannot throw
};

#endif
