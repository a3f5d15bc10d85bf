#ifndef OBVISTA_DESKTOP_HOST_LOOK_UPS_H
#define OBVISTA_DESKTOP_HOST_LOOK_UPS_H

#include <QHostInfo>
#include <QString>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace KD {

/**
 * Looks host names up on threads of its own, several at a time.
 *
 * QHostInfo::lookupHost() refuses on threads without a Qt event loop, and it repeats what it has
 * learnt for a minute. These look-ups may be started on any thread and always ask anew; Qt
 * remembers their answers for the other look-ups of the program.
 */
class HostLookUps {
  public:
    using AnswerHandler = std::function<void(const QHostInfo& answer)>;

    /** A look-up without an answer takes seconds: so many of them do not hold up another one. */
    static constexpr std::size_t a_simultaneous = 20;

    HostLookUps() = default;
    /** Drops the look-ups that have not begun and waits for the others. */
    ~HostLookUps();
    HostLookUps(const HostLookUps&) = delete;
    HostLookUps& operator=(const HostLookUps&) = delete;

    /** Looks a name up; the handler is called on one of the threads, with errors too. */
    void start(const QString& hostName, AnswerHandler handler);

  private:
    struct LookUp {
        QString fHostName;
        AnswerHandler fHandler;
    };

    void xRun();

    std::mutex fMutex;  // guards all below
    std::condition_variable fChanged;
    std::deque<LookUp> fWaiting;
    std::size_t fIdleThreads = 0;
    bool fEnding = false;
    std::vector<std::thread> fThreads;
};

}  // namespace KD

#endif
