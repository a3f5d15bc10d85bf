#ifndef ROBAXI_ENGINE_H
#define ROBAXI_ENGINE_H

#include "deadline.h"
#include "error_sentences.h"

#include <robaxi/kv_frame_stream.h>
#include <robaxi/kv_module.h>
#include <robaxi/kv_subscription.h>
#include <robaxi/kv_value.h>
#include <robaxi/robaxi_export.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/**
 * The interface between librobaxi and its engine, which speaks the protocol through gRPC.
 *
 * The engine is a shared library in the folder of librobaxi, loaded when a broker first listens or
 * connects, so that a program that does neither does not load gRPC. Both libraries come from one
 * build. The symbols that librobaxi exports in this namespace are for the engine only.
 */
namespace robaxi {

class HostedModules;
struct Runtime;

/** Where to find a robot. */
struct Place {
    /** Address or name. Security settings and certificate are for it, wherever it is found. */
    std::string fHost;
    int fPort = 0;
    /** Numeric addresses to try; if there are none, those of fHost. */
    std::vector<std::string> fAddresses{};
};

/** Identifies a proxy in its link, so that its calls can be ended together. */
struct CallOwner {
    bool fIsClosed = false;  // guarded by the link
};

/** The client's end of a stream beside the session. */
class ROBAXI_EXPORT Stream {
  public:
    virtual ~Stream() = default;
    /** Ends it. Returns when no callback is running, except one from which it is called. */
    virtual void stop() = 0;
};

/** The client's end of one watched camera. */
class ROBAXI_EXPORT PictureStream : public Stream {
  public:
    virtual void requestKeyFrame() = 0;
};

/** The client's end of one subscription. */
class ROBAXI_EXPORT ValueStream : public Stream {
  public:
    virtual void setKeys(const std::vector<std::uint32_t>& ids) = 0;
    virtual void setRate(double rate) = 0;
};

/**
 * A broker's connection to one robot, shared by all proxies and connections to the same address and
 * port.
 *
 * Once lost it stays lost. It is created and destroyed on threads of the users or of the broker,
 * never on those of gRPC: the destructor waits for them.
 */
class ROBAXI_EXPORT Link {
  public:
    /**
     * Receives the changes of a link's state, on a thread of gRPC or of the timers, with the link's
     * lock held. It must only pass the notice on.
     */
    class ROBAXI_EXPORT Listener {
      public:
        virtual ~Listener() = default;
        /** Called once. */
        virtual void linkLost(const Failure& loss) = 0;
        /** Called when the robot is silent, and when it is heard again. */
        virtual void linkSilent(bool /*isSilent*/) {}
        /** Called when the session continues on another connection. */
        virtual void linkResumed(std::uint64_t /*resumption*/) {}
    };

    virtual ~Link() = default;

    /** Returns all modules, or only `target.fModule` if it is not empty. @throws KVError */
    virtual std::vector<KVModuleInfo> listModules(const Target& target, CallOwner& owner,
                                                  Deadline deadline) = 0;
    /** Calls a method and waits for its result. @throws KVError */
    virtual KVValue call(const Target& target, const KVValue::List& arguments, CallOwner& owner,
                         Deadline deadline) = 0;
    /**
     * Sends a call without waiting for its result, at the latest before the link is destroyed.
     *
     * @return the task's identifier
     * @throws KVError if it cannot be sent
     */
    virtual int post(const Target& target, const KVValue::List& arguments, const CallOwner& owner,
                     Deadline deadline) = 0;
    /** Ends the owner's calls in flight with Cancelled. */
    virtual void cancel(const CallOwner& owner) = 0;
    /** Ends the owner's calls in flight and every later one with Cancelled. */
    virtual void close(CallOwner& owner) = 0;

    /**
     * Adds a listener, calls it if the robot is silent, and returns nothing; or, if the link is
     * already lost, returns the reason.
     */
    virtual std::optional<Failure> addListener(Listener* listener) = 0;
    virtual void removeListener(Listener* listener) = 0;
    virtual std::optional<Failure> loss() const = 0;
    /** Returns true if the robot is silent, or was when the link was lost. */
    virtual bool isSilent() const = 0;
    /** Returns the seconds since the robot was last heard. */
    virtual double silence() const = 0;

    /** Returns the numeric address of the robot. */
    virtual std::string address() const = 0;
    /** Returns true if this is the numeric address of the robot, in any spelling. */
    virtual bool isAt(const std::string& address) const = 0;
    virtual std::string peerName() const = 0;
    /** Returns the round trip in seconds; negative before the first heartbeat came back. */
    virtual double roundTrip() const = 0;

    /** @name Streams beside the session. `target` names the module. */
    ///@{
    /** @param names selects keys by their names, if there are any, instead of `selection` */
    virtual std::shared_ptr<ValueStream> subscribe(const Target& target,
                                                   KVSubscription::Selection selection,
                                                   const std::vector<std::string>& names,
                                                   double rate,
                                                   KVSubscription::Callbacks callbacks) = 0;
    virtual std::shared_ptr<PictureStream> watch(const Target& target, const std::string& camera,
                                                 KVFrameStream::Callbacks callbacks) = 0;
    ///@}
};

/** The server of a broker that listens. The destructor ends all sessions, and returns when no
 * method is running, except one from which it is called. */
class ROBAXI_EXPORT RunningServer {
  public:
    virtual ~RunningServer() = default;
    virtual int port() const = 0;
    /** Ends the streams to a module that is no longer hosted. */
    virtual void moduleRemoved(const std::string& name) = 0;
};

/** The functions of the engine. */
struct Engine {
    /** Connects to a robot. @throws Failure */
    std::shared_ptr<Link> (*connect)(const std::shared_ptr<Runtime>& runtime, const Place& place,
                                     Deadline deadline);
    /** Starts listening; with port 0, on any free port. @throws Failure AddressInUse, CannotListen;
     * InvalidArgument if the security settings cannot be used */
    std::unique_ptr<RunningServer> (*listen)(const std::shared_ptr<Runtime>& runtime,
                                             const std::shared_ptr<HostedModules>& modules,
                                             const std::string& address, int port);
};

/**
 * Returns the engine. The first call loads it, on the calling thread, which takes 10 to 20 ms.
 *
 * @throws KVError Internal, with a text that names the file, if it cannot be loaded; a later call
 *         tries again
 */
const Engine& engine();

}  // namespace robaxi

/** The only function that the engine exports. Returns null if `version`, that of the librobaxi that
 *  calls it, is not its own. */
extern "C" ROBAXI_EXPORT const robaxi::Engine* robaxiEngine(const char* version);

#endif
