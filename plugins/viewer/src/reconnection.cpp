#include "reconnection.h"

#include <obvista/viewer/notice.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_error.h>

#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <random>
#include <utility>

namespace obvista {

namespace {

using Clock = RetrySchedule::Clock;

/** Seconds; an address where nothing answers delays the next attempt for so long. */
constexpr double a_connectTimeOut = 2;

/**
 * The attempts in progress, which may outlive the object that started them. The process does not
 * exit before they have ended, since they use the middleware.
 */
class RunningAttempts {
  public:
    /** Never destroyed, since an attempt may end while static objects are being destroyed. */
    static RunningAttempts& instance() {
        static auto* const attempts = new RunningAttempts;
        return *attempts;
    }

    void add() {
        const std::lock_guard lock(fMutex);
        ++fCount;
    }
    void remove() {
        const std::lock_guard lock(fMutex);
        --fCount;
        fEnded.notify_all();
    }

  private:
    RunningAttempts() {
        std::atexit([] { instance().xWait(); });
    }

    void xWait() {
        std::unique_lock lock(fMutex);
        fEnded.wait(lock, [this] { return fCount == 0; });
    }

    std::mutex fMutex;
    std::condition_variable fEnded;
    int fCount = 0;
};

class RunningAttempt {
  public:
    RunningAttempt() { RunningAttempts::instance().add(); }
    ~RunningAttempt() { RunningAttempts::instance().remove(); }
    RunningAttempt(const RunningAttempt&) = delete;
    RunningAttempt& operator=(const RunningAttempt&) = delete;
};

double randomNumber() {
    static std::mt19937 generator(std::random_device{}());
    return std::uniform_real_distribution<double>(0, 1)(generator);
}

}  // namespace

struct Reconnection::Attempt {
    const boost::shared_ptr<KVBroker> fBroker;
    const RobotPlace fPlace;
    std::shared_ptr<KVConnection> fConnection;  // of the thread until fIsOver
    std::atomic<bool> fIsOver{false};

    Attempt(boost::shared_ptr<KVBroker> broker, RobotPlace place)
        : fBroker(std::move(broker)), fPlace(std::move(place)) {}

    void run() {
        try {
            fConnection =
                KVConnection::open(fBroker, fPlace.fAddress, fPlace.fPort, a_connectTimeOut);
        } catch (const KVError&) {
            // The robot is still gone, which the viewer says already.
        }
    }
};

/** An attempt's share in the thread that makes it. */
struct Reconnection::Run {
    std::shared_ptr<RunningAttempt> fRunning = std::make_shared<RunningAttempt>();
    std::shared_ptr<Attempt> fAttempt;  // released first
};

Reconnection::Reconnection(boost::shared_ptr<KVBroker> broker, KnownRobot lost, Notice& notice)
    : fBroker(std::move(broker)),
      fNotice(notice),
      fExpected(std::move(lost)),
      fSchedule(Clock::now(), randomNumber) {
    if (fExpected.fAnnouncement) {
        fAnnouncedPlace = placeOf(*fExpected.fAnnouncement);
    }
}

Reconnection::~Reconnection() = default;

std::optional<Reconnection::Success> Reconnection::advance() {
    const Clock::time_point now = Clock::now();
    if (fAttempt && fAttempt->fIsOver) {
        const std::shared_ptr<Attempt> attempt = std::exchange(fAttempt, nullptr);
        if (std::optional<Success> success = xTake(*attempt)) {
            return success;
        }
        fSchedule.attemptFailed(now);
    }
    const std::optional<RobotPlace> announced =
        fExpected.fAnnouncement ? placeOf(*fExpected.fAnnouncement) : std::nullopt;
    if (std::exchange(fAnnouncedPlace, announced) != announced && announced) {
        fSchedule.hurry(now);
    }
    if (!fAttempt && fSchedule.isDue(now)) {
        xStart(announced.value_or(fExpected.fPlace));
    }
    return std::nullopt;
}

std::string Reconnection::stranger() const {
    if (!fStranger) {
        return {};
    }
    const bool hasOtherName = fStranger->fName != fExpected.fName && !fStranger->fName.empty();
    return hasOtherName || !fStranger->fAnnouncement ? fStranger->fName
                                                     : fStranger->fAnnouncement->fHostName;
}

void Reconnection::acceptStranger() {
    if (fStranger) {
        fExpected = *std::exchange(fStranger, std::nullopt);
        fIsOtherExpected = true;
        fAnnouncedPlace.reset();
        fSchedule.hurry(Clock::now());
    }
}

void Reconnection::xStart(const RobotPlace& place) {
    fAttempt = std::make_shared<Attempt>(fBroker, place);
    Run run;
    run.fAttempt = fAttempt;
    fThread.start([run, &notice = fNotice]() -> base::Lookups::Answer {
        run.fAttempt->run();
        return [run, &notice] {
            run.fAttempt->fIsOver = true;
            notice.give();
        };
    });
}

/** Returns the robot unless the attempt has failed, or another robot has answered. */
std::optional<Reconnection::Success> Reconnection::xTake(Attempt& attempt) {
    fStranger.reset();
    if (!attempt.fConnection) {
        return std::nullopt;
    }
    KnownRobot robot{attempt.fPlace, attempt.fConnection->getPeerName(),
                     announcedAt(attempt.fPlace)};
    if (!xIsExpected(robot)) {
        fStranger = std::move(robot);
        return std::nullopt;
    }
    if (!robot.fAnnouncement) {
        robot.fAnnouncement = fExpected.fAnnouncement;
    }
    return Success{std::move(robot), std::move(attempt.fConnection), fIsOtherExpected};
}

/** A robot whose announcement is not known, or has not arrived yet, is known by its name only. */
bool Reconnection::xIsExpected(const KnownRobot& robot) const {
    const bool isAnnouncedAsOther = robot.fAnnouncement && fExpected.fAnnouncement &&
                                    !(*robot.fAnnouncement == *fExpected.fAnnouncement);
    return robot.fName == fExpected.fName && !isAnnouncedAsOther;
}

}  // namespace obvista
