#ifndef OBVISTA_ROBOT_REPLAY_REPLAY_MODULE_H
#define OBVISTA_ROBOT_REPLAY_REPLAY_MODULE_H

#include "replay/key_history.h"
#include "replay/player.h"

#include <robaxi/kv_module.h>

#include <memory>

namespace robot {

/** The values of "KVReplay" (docs/replay.md). From any thread. */
class ReplayValues {
  public:
    ReplayValues();

    const std::shared_ptr<KVValueTable>& table() const { return fTable; }
    /** @param clockOffset the recorder's clock minus the robot's, nanoseconds */
    void setTimes(std::uint64_t start, std::uint64_t end, std::int64_t clockOffset);
    void set(const PlayerState& state);
    KVValue clockOffset() const { return fTable->getValue("ClockOffset").fValue; }

  private:
    const std::shared_ptr<KVValueTable> fTable;
    std::uint32_t fPosition;
    std::uint32_t fIsPlaying;
    std::uint32_t fSpeed;
    std::uint32_t fLoop;
    std::uint32_t fStart;
    std::uint32_t fEnd;
    std::uint32_t fClockOffset;
    std::uint32_t fFault;
};

/** Creates "KVReplay": the controls of a replay. All must outlive the module. */
std::shared_ptr<KVModule> makeReplayModule(Player& player, KeyHistory& history,
                                           const ReplayValues& values);

}  // namespace robot

#endif
