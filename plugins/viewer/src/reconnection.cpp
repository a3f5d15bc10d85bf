#include "reconnection.h"

#include <base/address.h>
#include <obvista/viewer/notice.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_error.h>

#include <address_queries.h>
#include <algorithm>
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
/** Time for Avahi's answer, which takes longer only for a host that does not answer either. */
constexpr std::chrono::milliseconds a_addressTimeOut(500);

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
    const std::string fHost;
    const std::string fLocalName;  // which Avahi may know; or empty
    const RobotPlace fPlace;
    std::shared_ptr<KVConnection> fConnection;  // of the thread until fIsOver
    std::atomic<bool> fIsOver{false};

    Attempt(boost::shared_ptr<KVBroker> broker, const KnownRobot& expected,
            const std::optional<RobotPlace>& announced)
        : fBroker(std::move(broker)),
          fHost(expected.fHost),
          fLocalName(xLocalName(expected)),
          fPlace{announced && !announced->fAddress.empty() ? announced->fAddress
                                                           : expected.fPlace.fAddress,
                 announced ? announced->fPort : expected.fPlace.fPort} {}

    void run() {
        try {
            const std::vector<std::string> addresses = xAddresses();
            fConnection = KVConnection::open(fBroker, xIdentity(addresses), fPlace.fPort,
                                             a_connectTimeOut, addresses);
        } catch (const KVError&) {
            // The robot is still gone, which the viewer says already.
        }
    }

    /** Returns the place of the robot that has answered. */
    RobotPlace reached() const {
        return {base::isAddress(fHost) ? fConnection->getAddress() : fHost, fPlace.fPort};
    }

  private:
    static std::string xLocalName(const KnownRobot& robot) {
        const std::string& name =
            robot.fAnnouncement ? robot.fAnnouncement->fHostName : robot.fHost;
        return KV::bonjour::isLocalName(name) ? name : std::string();
    }

    /** Returns none if the system's resolver has to look up fHost. */
    std::vector<std::string> xAddresses() const {
        std::vector<std::string> addresses;
        if (!fLocalName.empty()) {
            addresses = KV::bonjour::addressesInTime(fLocalName, a_addressTimeOut);
        }
        if (addresses.empty() && base::isAddress(fPlace.fAddress)) {
            addresses = {fPlace.fAddress};
        }
        return addresses;
    }

    /** Returns that for which settings and certificate are: the name or address that the user
     *  chose; once the robot has left that address, its current IPv4 address. */
    std::string xIdentity(const std::vector<std::string>& addresses) const {
        if (!base::isAddress(fHost)) {
            return fHost;
        }
        for (const std::string& known : {fHost, fPlace.fAddress}) {
            const bool canBe = known == fHost || base::isIPv4(known);
            if (canBe && std::find(addresses.begin(), addresses.end(), known) != addresses.end()) {
                return known;
            }
        }
        const auto ipv4 = std::find_if(addresses.begin(), addresses.end(), base::isIPv4);
        return ipv4 == addresses.end() ? fHost : *ipv4;
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
        xStart(announced);
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

void Reconnection::xStart(const std::optional<RobotPlace>& announced) {
    fAttempt = std::make_shared<Attempt>(fBroker, fExpected, announced);
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
    const RobotPlace place = attempt.reached();
    KnownRobot robot{fExpected.fHost, place, attempt.fConnection->getPeerName(),
                     announcedAt(place)};
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
