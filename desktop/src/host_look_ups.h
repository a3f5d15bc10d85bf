#ifndef OBVISTA_DESKTOP_HOST_LOOK_UPS_H
#define OBVISTA_DESKTOP_HOST_LOOK_UPS_H

#include <QHostInfo>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>

namespace KD {

/**
 * Looks up a host name as QHostInfo::fromName() does, but with a time-out.
 *
 * The system's resolver cannot be interrupted, and waits forever for an Avahi daemon that does not
 * answer. It is called on a separate thread, which is abandoned when the time is over.
 *
 * @return the answer, or an error with QHostInfo::UnknownError if there is none in time
 */
QHostInfo lookUpHost(const QString& hostName, std::chrono::milliseconds patience);

/**
 * Looks up host names on separate threads, several at a time.
 *
 * QHostInfo::lookupHost() refuses on threads without a Qt event loop, and caches answers for a
 * minute. These lookups may be started on any thread and always query again; Qt caches their
 * answers for the other lookups of the program.
 */
class HostLookUps {
  public:
    using AnswerHandler = std::function<void(const QHostInfo& answer)>;

    /**
     * A lookup without an answer takes seconds; this many can run without delaying the next one.
     */
    static constexpr std::size_t a_simultaneous = 20;

    /** Maximum wait of the destructor for running lookups. */
    static constexpr std::chrono::milliseconds a_patience{300};

    HostLookUps();
    /**
     * Drops the lookups that have not started, and waits a_patience for the others, which are then
     * abandoned. No handler is called afterwards.
     */
    ~HostLookUps();
    HostLookUps(const HostLookUps&) = delete;
    HostLookUps& operator=(const HostLookUps&) = delete;

    /**
     * Looks up a name. The handler is called on one of the threads, for errors too. It must not
     * start a lookup.
     */
    void start(const QString& hostName, AnswerHandler handler);

  private:
    struct State;

    static void xRun(const std::shared_ptr<State>& state);

    std::shared_ptr<State> fState;  // shared with the threads
};

}  // namespace KD

#endif
