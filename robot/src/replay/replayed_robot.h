#ifndef OBVISTA_ROBOT_REPLAY_REPLAYED_ROBOT_H
#define OBVISTA_ROBOT_REPLAY_REPLAYED_ROBOT_H

#include "options.h"
#include "replay/key_history.h"
#include "replay/player.h"
#include "replay/replay_module.h"
#include "replay/stage.h"
#include "web/web_server.h"

#include <memory>
#include <recorded_robot/recorded_robot.h>
#include <recording/reader.h>
#include <serving/serving.h>
#include <string>
#include <vector>

namespace robot {

/**
 * Returns the names of the robots in a recording that can be replayed, in its order.
 *
 * @throws std::runtime_error with a sentence if it cannot be read or has none
 */
std::vector<std::string> replayableRobots(const std::string& file);

/**
 * A robot of a recording, served like any other: its values and cameras, the module "KVReplay", its
 * web page with its icon, and its announcement. Create and destroy it on the main thread.
 */
class ReplayedRobot {
  public:
    /**
     * Starts it; it can be reached when this returns.
     *
     * @throws KVError or std::runtime_error if it cannot listen on a port, or the recording cannot
     *         be read or has no such robot
     */
    ReplayedRobot(const Options& options, const serving::Output& output);

    /** Sends the goodbye and ends: calls in flight fail for their caller. */
    ~ReplayedRobot();
    ReplayedRobot(const ReplayedRobot&) = delete;
    ReplayedRobot& operator=(const ReplayedRobot&) = delete;

    const std::string& name() const { return fName; }

  private:
    std::string xReadIcon(const Options& options, const serving::Output& output) const;

    recording::Reader fReader;
    const recorded_robot::RecordedRobot fRobot;
    const std::string fName;
    Stage fStage;
    KeyHistory fHistory;
    const std::int64_t fClockOffset;
    ReplayValues fValues;
    Player fPlayer;
    std::unique_ptr<WebServer> fWebServer;
    std::unique_ptr<KV::BonjourAnnouncer> fAnnouncer;
    // Destroyed first: no call is running when the other members are destroyed.
    boost::shared_ptr<KVBroker> fBroker;
};

}  // namespace robot

#endif
