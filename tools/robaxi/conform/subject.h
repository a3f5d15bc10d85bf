#ifndef OBVISTA_TOOLS_ROBAXI_CONFORM_SUBJECT_H
#define OBVISTA_TOOLS_ROBAXI_CONFORM_SUBJECT_H

#include "conform/conformance.h"
#include "conform/wire.h"
#include "network/announced_hosts.h"

#include <cstdint>
#include <download/http_get.h>
#include <exception>
#include <initializer_list>
#include <net/socket_address.h>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace robaxi_tool {

/** Ends a check: the robot breaks the rule. */
class Fault : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/** Ends a check: this robot gives no opportunity to check the rule. */
class NotChecked : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/** Throws a Fault with the text if the condition is false. */
inline void require(bool condition, const std::string& fault) {
    if (!condition) {
        throw Fault(fault);
    }
}

/** Wait in which a robot that breaks a rule has the time to send what it must not send. */
constexpr std::chrono::milliseconds a_quiet(300);

constexpr const char* a_memory = "KVMemory";
constexpr const char* a_video = "KVVideo";
constexpr const char* a_iconPath = "//media/buddy.icon";

/** The robot as the checks see it. Facts are asked for once. */
class Subject {
  public:
    /** @param listener where the robot accepts connections */
    Subject(const ConformRequest& request, robaxi::SocketAddress listener,
            std::shared_ptr<grpc::Channel> channel, std::string token);

    const ConformRequest& request() const { return fRequest; }
    const robaxi::SocketAddress& listener() const { return fListener; }
    Wire& wire() { return fWire; }
    /** Returns the end of a wait for something that the robot must do now. */
    Clock::time_point deadline() const;
    const std::string& token() const { return fToken; }
    /** Returns the header with the token for an RPC without a session; may be empty. */
    std::string authorization() const;

    /** Returns the modules. @throws Fault */
    const std::vector<v1::Module>& modules();
    /** Returns KVMemory, or another module with values. @throws Fault, NotChecked */
    const std::string& moduleWithValues();
    /** Returns a call that changes nothing and succeeds. @throws Fault, NotChecked */
    v1::Call harmlessCall();
    /** Throws NotChecked if the module has no such method. @throws Fault */
    void needMethod(const std::string& module, const std::string& method);
    /** Returns the names of the keys. @throws Fault, NotChecked */
    std::vector<std::string> keyNames();
    /** Returns the answer of getCameras. @throws Fault, NotChecked */
    v1::Value cameras();
    /** Returns the name of the first camera. @throws Fault, NotChecked */
    std::string camera();
    /** Returns results of the robot's methods, with their origin. @throws Fault, NotChecked */
    const std::vector<std::pair<std::string, v1::Value>>& sampleValues();
    /** Returns the robot's announcement, with addresses. @throws NotChecked */
    const AnnouncedHost& announced();
    /** Requests the icon at a path. @throws NotChecked if the host need not have one */
    download::HttpAnswer requestIcon(const std::string& path);
    /** Returns the answer to the request at a_iconPath. @throws NotChecked */
    const download::HttpAnswer& iconAnswer();

  private:
    const ConformRequest& fRequest;
    robaxi::SocketAddress fListener;
    std::string fToken;
    Wire fWire;
    std::optional<std::vector<v1::Module>> fModules;
    std::optional<std::vector<std::pair<std::string, v1::Value>>> fSample;
    std::optional<AnnouncedHost> fAnnounced;
    std::optional<download::HttpAnswer> fIcon;
    std::string fNotAnnounced;  ///< the reason why there is no announcement
};

// --- Messages ---

v1::ClientMessage helloMessage(const Subject& robot);
v1::ClientMessage heartbeatMessage(std::uint64_t number);
v1::ClientMessage callMessage(std::uint64_t id, const v1::Call& call);
v1::ClientMessage listMessage(std::uint64_t id, const std::string& module);
v1::Call makeCall(const std::string& module, const std::string& method,
                  std::initializer_list<v1::Value> arguments = {});
v1::Value textValue(const std::string& text);
/** Returns the element of a map, or null. */
const v1::Value* elementOf(const v1::Value& map, std::string_view key);
std::string nameOf(v1::Error::Cause cause);

/** Parses a message of the robot. @throws Fault */
template <class Message>
Message parse(const std::string& bytes) {
    Message message;
    require(message.ParseFromString(bytes), "The robot sent a message that cannot be read.");
    return message;
}

// --- Sessions ---

/** A session with signs of life. */
class Session {
  public:
    /** Opens it. @throws Fault if the robot does not answer the Hello */
    explicit Session(Subject& robot, bool takesFragments = false);

    const v1::HelloReply& reply() const { return fReply; }
    std::uint64_t id() const { return fReply.session_id(); }
    Rpc& rpc() { return fRpc; }
    /** Stops the signs of life. */
    void fallSilent() { fRpc.keepAlive({}, std::chrono::hours(1)); }

    void send(const std::vector<v1::ClientMessage>& messages);
    /** Returns the next message; nothing if the stream has ended, or at the deadline. */
    std::optional<v1::ServerMessage> next(Clock::time_point deadline);
    /** Returns the Result or ModuleList of a call; skips everything else. @throws Fault */
    v1::ServerMessage answer(std::uint64_t id);
    /** Runs a call. @throws Fault if there is no answer */
    v1::Result call(const v1::Call& call);
    /**
     * Returns all messages until the robot has returned a heartbeat, and within a_quiet after that:
     * the results of calls may come later. @throws Fault if it does not return the heartbeat
     */
    std::vector<v1::ServerMessage> settle();

  private:
    Subject& fRobot;
    Rpc fRpc;
    std::vector<v1::ServerMessage> fWaiting;  ///< the rest of a batch, the last message first
    v1::HelloReply fReply;
    std::uint64_t fLastHeartbeat = 0;
    std::uint64_t fLastCall = 1000000;
};

/** Runs an RPC with one request and one response; returns the response, or nothing and the end. */
struct Reply {
    std::optional<std::string> fMessage;
    End fEnd;
};
/** @throws Fault if the RPC does not end in time */
Reply askOnce(Subject& robot, const std::string& method, const std::string& request,
              const std::string& authorization);
/** The same with a method of robaxi.v1.Robaxi and the user's token. */
Reply askRobaxi(Subject& robot, const std::string& method, const std::string& request);

/** Checks that an RPC ends in time with the status of the cause. @throws Fault */
void requireRefusal(Subject& robot, Rpc& rpc, v1::Error::Cause cause);
void requireRefusal(const End& end, v1::Error::Cause cause);
/** Checks that an RPC ends in time, with any status. @throws Fault */
const End& requireEnd(Subject& robot, Rpc& rpc);
/** Checks the end of an RPC with a message that cannot be read. @throws Fault */
void requireUnreadable(const End& end);
/** Checks the error of a result. @throws Fault */
void requireError(const v1::Result& result, v1::Error::Cause cause);
/** Returns the value of a result. @throws Fault if it is an error */
const v1::Value& requireValue(const v1::Result& result);

// --- Groups ---

const std::vector<ConformCheck>& sessionChecks();
const std::vector<ConformCheck>& callChecks();
const std::vector<ConformCheck>& valueChecks();
const std::vector<ConformCheck>& subscriptionChecks();
const std::vector<ConformCheck>& frameChecks();
const std::vector<ConformCheck>& limitChecks();
const std::vector<ConformCheck>& securityChecks();
const std::vector<ConformCheck>& resumeChecks();
const std::vector<ConformCheck>& announcingChecks();

}  // namespace robaxi_tool

#endif
