#ifndef OBVISTA_DESKTOP_HOST_LOOK_UPS_H
#define OBVISTA_DESKTOP_HOST_LOOK_UPS_H

#include <QHostInfo>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>

namespace KD {

/**
 * Looks a host name up as QHostInfo::fromName() does, but gives up after a time.
 *
 * The system's resolver cannot be interrupted, and waits without end for an Avahi daemon that does
 * not answer. It is asked on a separate thread, which is left to itself when it takes too long.
 *
 * @return the answer, or a failure with QHostInfo::UnknownError when there is none in time
 */
QHostInfo lookUpHost(const QString& hostName, std::chrono::milliseconds patience);

/**
 * Looks host names up on separate threads, several at a time.
 *
 * QHostInfo::lookupHost() refuses on threads without a Qt event loop, and it repeats what it has
 * learnt for a minute. These lookups may be started on any thread and always ask again; Qt
 * remembers their answers for the other lookups of the program.
 */
class HostLookUps {
  public:
    using AnswerHandler = std::function<void(const QHostInfo& answer)>;

    /** A lookup without an answer takes seconds: so many of them do not hold up another one. */
    static constexpr std::size_t a_simultaneous = 20;

    /** Longest wait of the destructor for lookups under way. */
    static constexpr std::chrono::milliseconds a_patience{300};

    HostLookUps();
    /**
     * Drops the lookups that have not begun, and waits a_patience for the others, which are left to
     * themselves then. No handler is called afterwards.
     */
    ~HostLookUps();
    HostLookUps(const HostLookUps&) = delete;
    HostLookUps& operator=(const HostLookUps&) = delete;

    /**
     * Looks a name up; the handler is called on one of the threads, with errors too. It must not
     * start a lookup.
     */
    void start(const QString& hostName, AnswerHandler handler);

  private:
    struct State;

    static void xRun(const std::shared_ptr<State>& state);

    std::shared_ptr<State> fState;  // also held by the threads
};

}  // namespace KD

#endif
