#ifndef ROBAXI_LIMITS_H
#define ROBAXI_LIMITS_H

#include <chrono>
#include <cstddef>
#include <cstdint>

/** What the two ends of the protocol hold each other to. */
namespace robaxi::limits {

constexpr std::uint32_t a_protocolVersion = 1;

constexpr std::size_t a_largestMessage = std::size_t{16} * 1024 * 1024;
/** What a batch adds to the one message in it. */
constexpr std::size_t a_largestBatch = a_largestMessage + 1024;
/** Messages above this are sent in parts, so that a heartbeat never waits for a whole one; also
 *  the size up to which messages are sent together. */
constexpr std::size_t a_fragmentSize = std::size_t{64} * 1024;
/** Depth of lists and maps in one another. */
constexpr int a_deepestValue = 64;

constexpr std::chrono::milliseconds a_heartbeatPeriod{250};
/** Heartbeats without anything received after which the robot is lost: 1.5 s. Counted in
 *  heartbeats and not by the clock, so that a process that was itself kept from running does not
 *  take its own pause for the robot's silence. */
constexpr int a_silentHeartbeatsOfRobot = 6;
/** The same for a client, seen from the robot: 5 s. Longer, because a client that was stopped for
 *  a moment (in a debugger, a suspended laptop) costs the robot little. */
constexpr int a_silentHeartbeatsOfClient = 20;

/** How long a link that goes waits for a robot to take what was posted to it. */
constexpr std::chrono::milliseconds a_timeToSendTheRest{500};

constexpr std::size_t a_sessionsOfBroker = 256;
constexpr std::size_t a_subscriptionsOfSession = 64;
constexpr std::size_t a_watchedCamerasOfSession = 16;
constexpr std::size_t a_methodThreads = 8;
constexpr std::size_t a_noticeThreads = 4;
/** Calls of one session that wait for a thread, in number and in bytes of arguments. */
constexpr std::size_t a_waitingCalls = 1024;
constexpr std::size_t a_waitingCallBytes = 4 * a_largestMessage;
/** Bytes of one stream that wait to be sent. */
constexpr std::size_t a_outgoingBytes = 4 * a_largestMessage;

/** Bytes of one stream that a client lets a robot have on the network: enough for 200 MB/s with a
 *  round trip of 2 ms, and a twentieth of a second of a slow network (100 Mbit/s). */
constexpr std::size_t a_streamWindow = std::size_t{512} * 1024;

constexpr double a_highestRate = 1000.0;
/** Updates that a subscription sends before the client is done with the first of them. */
constexpr std::uint64_t a_updatesInFlight = 2;
constexpr std::size_t a_bytesOfUpdate = std::size_t{1024} * 1024;
/** Keys of one subscription that a client takes from a robot. */
constexpr std::size_t a_keysOfSubscription = 1000000;

constexpr std::size_t a_largestFrame = std::size_t{64} * 1024 * 1024;
/** Frames that a robot sends before the client has received the first of them. */
constexpr std::uint64_t a_framesInFlight = 2;
/** Frames are sent in parts of this size, so that a call or heartbeat never waits for a whole one.
 */
constexpr std::size_t a_partOfFrame = std::size_t{256} * 1024;

}  // namespace robaxi::limits

#endif
