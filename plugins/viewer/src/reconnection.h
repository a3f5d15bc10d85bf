#ifndef OBVISTA_VIEWER_RECONNECTION_H
#define OBVISTA_VIEWER_RECONNECTION_H

#include "announcement.h"
#include "retry_schedule.h"

#include <base/lookups.h>

#include <boost/shared_ptr.hpp>

#include <atomic>
#include <memory>
#include <optional>
#include <string>

class KVBroker;
class KVConnection;

namespace obvista {

class Notice;

/** A robot, and where it is. */
struct KnownRobot {
    /** As the user chose it: address or name. Settings and certificate of a name are for it,
     *  wherever the robot is found. */
    std::string fHost;
    RobotPlace fPlace;
    std::string fName;  ///< that it reports itself; untrusted, and may be empty
    std::optional<Announcement> fAnnouncement;
};

/**
 * Attempts to connect to a lost robot again, one at a time on a dedicated thread, at the times of a
 * RetrySchedule and at once when the robot is announced: at the current addresses of its announced
 * name, which Avahi knows before the host has looked one up, or where it was. Another robot that
 * answers there is reported, and the attempts go on.
 *
 * Used on the GUI thread, which never waits.
 */
class Reconnection {
  public:
    struct Success {
        KnownRobot fRobot;
        std::shared_ptr<KVConnection> fConnection;
        bool fIsOther = false;  ///< accepted by the user in the place of the lost one
    };

    /** @param notice given at the end of an attempt; must outlive this object */
    Reconnection(boost::shared_ptr<KVBroker> broker, KnownRobot lost, Notice& notice);
    /** Leaves an attempt in progress to its thread, which ends within three seconds. */
    ~Reconnection();
    Reconnection(const Reconnection&) = delete;
    Reconnection& operator=(const Reconnection&) = delete;

    /**
     * Takes the outcome of an attempt and starts the next one when it is due. Call it several times
     * a second until it returns the robot.
     */
    std::optional<Success> advance();

    /** Returns the name of another robot that answered the last attempt; empty if none did.
     *  Untrusted. */
    std::string stranger() const;
    /** Connects to that robot from now on. */
    void acceptStranger();

  private:
    struct Attempt;
    struct Run;

    void xStart(const std::optional<RobotPlace>& announced);
    std::optional<Success> xTake(Attempt& attempt);
    bool xIsExpected(const KnownRobot& robot) const;

    const boost::shared_ptr<KVBroker> fBroker;
    Notice& fNotice;
    KnownRobot fExpected;
    bool fIsOtherExpected = false;
    std::optional<RobotPlace> fAnnouncedPlace;
    RetrySchedule fSchedule;
    std::optional<KnownRobot> fStranger;
    std::shared_ptr<Attempt> fAttempt;
    // Destroyed first, since its answers use the notice.
    base::Lookups fThread{1};
};

}  // namespace obvista

#endif
