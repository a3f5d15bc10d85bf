#ifndef ROBAXI_LIMITS_H
#define ROBAXI_LIMITS_H

#include <robaxi/kv_settings.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>

/** Limits of the protocol, for both ends. */
namespace robaxi::limits {

constexpr std::uint32_t a_protocolVersion = 1;

/** Size of a batch in addition to its one message. */
constexpr std::size_t a_roomForBatch = 1024;
/**
 * Messages above this are sent in parts, so that a heartbeat never waits for a whole one; also the
 * size up to which messages are combined.
 */
constexpr std::size_t a_fragmentSize = std::size_t{64} * 1024;
/** Nesting of lists and maps. */
constexpr int a_deepestValue = 64;

/** Returns the number of periods, rounded up. */
constexpr int periodsIn(std::chrono::milliseconds time, std::chrono::milliseconds period) {
    return static_cast<int>((time + period - std::chrono::milliseconds(1)) / period);
}
/**
 * Heartbeats without any received message after which the other end is silent. The unit is
 * heartbeats, not time, so that a process that was itself suspended does not mistake its own pause
 * for the other end's silence.
 *
 * @param period of these heartbeats, which is shorter than the configured one for a robot that
 *        requires it
 */
inline int silentHeartbeats(const KVSettings::Limits& limits, std::chrono::milliseconds period) {
    return periodsIn(limits.fLoss, period);
}
/** Silence after which the other end is lost, if the session can be resumed or the robot is that
 * end. */
inline std::chrono::milliseconds longestSilence(const KVSettings::Limits& limits) {
    return std::max(limits.fSilence, limits.fLoss);
}
/** Silence after which a robot gives up a client that cannot resume its session: 5 s by default. */
constexpr int a_silentHeartbeatsOfSimpleClient = 20;
inline std::chrono::milliseconds silenceOfSimpleClient(const KVSettings::Limits& limits) {
    return limits.fHeartbeat * a_silentHeartbeatsOfSimpleClient;
}
/** Time for the first message of a connection or stream. */
inline std::chrono::milliseconds timeForFirstMessage(const KVSettings::Limits& limits) {
    return silenceOfSimpleClient(limits);
}
/**
 * The same while the robot reads nothing, because too much waits to be sent: a minute by default,
 * during which the client reads nothing.
 */
constexpr int a_untakingHeartbeatsOfClient = 240;
/**
 * Time after which the system gives up a connection on which sent data is not acknowledged: above
 * all limits of silence, which decide.
 */
inline std::chrono::milliseconds timeOutOfTransport(const KVSettings::Limits& limits) {
    return std::max(longestSilence(limits), limits.fHeartbeat * a_untakingHeartbeatsOfClient) +
           std::chrono::seconds(10);
}
/** Minimum number of heartbeats that a client sends during the robot's time-out for it. */
constexpr int a_heartbeatsInSilence = 4;

/** Addresses of one host that are tried, and the time between two attempts (RFC 8305). */
constexpr std::size_t a_mostAddresses = 8;
constexpr std::chrono::milliseconds a_betweenAddresses{250};

/** Maximum time that the destructor of a link waits until posted calls are sent. */
constexpr std::chrono::milliseconds a_timeToSendTheRest{500};

constexpr std::size_t a_methodThreads = 8;
constexpr std::size_t a_noticeThreads = 4;
/** Calls of one session that wait for a thread, and RPCs of one address without a session. */
constexpr std::size_t a_waitingCalls = 1024;
/**
 * Bytes of one session that wait: arguments of calls for a thread, and messages to be sent. Also
 * those of the RPCs of one address without a session.
 */
constexpr std::size_t waitingBytes(std::size_t largestMessage) {
    return 4 * largestMessage;
}
/**
 * Bytes that all connections on which no client was admitted may have sent together: as many as the
 * RPCs of all addresses without a session.
 */
constexpr std::size_t bytesOfNewcomers(std::size_t largestMessage) {
    return 2 * waitingBytes(largestMessage);
}
/** Time after which these bytes are counted again. */
constexpr std::chrono::milliseconds a_betweenCountsOfNewcomers{50};
/**
 * Bytes of sent batches that one end of a session keeps until the other end has acknowledged them.
 * Beyond it the oldest are dropped, and a session that still needs them cannot be resumed.
 */
constexpr std::size_t unacknowledgedBytes(std::size_t largestMessage) {
    return 2 * largestMessage;
}
/** A receiver acknowledges at the latest after so many bytes, otherwise with its heartbeats. */
constexpr std::size_t a_acknowledgeAfter = std::size_t{1024} * 1024;
/**
 * Heartbeats without any received message after which a client looks for a connection on which to
 * resume its session: before it reports the silence, so that a short one ends soon.
 */
inline int heartbeatsBeforeProbe(const KVSettings::Limits& limits,
                                 std::chrono::milliseconds period) {
    return silentHeartbeats(limits, period) / 2;
}
/** Time after which the outcome of attempts to connect is looked at again. */
constexpr std::chrono::milliseconds a_betweenPollsOfProbe{20};
/** Attempts to resume a session that wait for the robot's answer. */
constexpr std::size_t a_attemptsToResume = 4;
/** Time between the first two attempts; it doubles from one to the next. */
constexpr std::chrono::milliseconds a_betweenAttemptsToResume{500};

/** Overhead counted for each waiting message, besides its bytes. */
constexpr std::size_t a_costOfMessage = 256;
/**
 * Above this many waiting bytes, messages wait in serialised form, since objects take several times
 * their size. Below it, serialising would only cost time.
 */
constexpr std::size_t a_packFrom = std::size_t{1024} * 1024;
/** A session that has kept more bytes waiting returns its memory to the system at its end. */
constexpr std::size_t a_muchMemory = std::size_t{4} * 1024 * 1024;

/**
 * Bytes of one stream that a client allows in flight: enough for 200 MB/s with a round trip of 2
 * ms, and a twentieth of a second of a slow network (100 Mbit/s).
 */
constexpr std::size_t a_streamWindow = std::size_t{512} * 1024;

constexpr double a_highestRate = 1000.0;
/** Updates that a subscription sends before the client has processed the first of them. */
constexpr std::uint64_t a_updatesInFlight = 2;
/** Size at which an update is sent before more is added to it. */
constexpr std::size_t bytesOfUpdate(std::size_t largestMessage) {
    return std::min(std::size_t{1024} * 1024, largestMessage / 2);
}

/** Frames that a robot sends before the client has received the first of them. */
constexpr std::uint64_t a_framesInFlight = 2;
/** The same of H.264: its frames are small and all of them are needed, so that a round trip of many
 *  frames must not leave any out. */
constexpr std::uint64_t a_chainedFramesInFlight = 6;
/**
 * Frames are sent in parts of this size. Other messages hardly wait for a part, since the transport
 * interleaves streams. But each part costs the robot a turn of its threads: with parts a quarter of
 * this size, frames take a quarter more processor time.
 */
constexpr std::size_t a_partOfFrame = std::size_t{1024} * 1024;

}  // namespace robaxi::limits

#endif
