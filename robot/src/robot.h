#ifndef OBVISTA_ROBOT_ROBOT_H
#define OBVISTA_ROBOT_ROBOT_H

#include "memory_source.h"
#include "options.h"
#include "ticker.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_module.h>
#include <robaxi/kv_value_table.h>

#include <boost/shared_ptr.hpp>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace robot {

/** A running robot or computer: its values, its modules and the broker that serves them. */
class Robot {
  public:
    /**
     * Starts it; it can be reached when this returns.
     *
     * @param say writes one line for the user; called from any thread
     * @throws KVError when the port cannot be listened on
     */
    Robot(const Options& options, std::function<void(const std::string& line)> say);

    /** Ends it: calls in flight end with a failure for their caller. */
    ~Robot();
    Robot(const Robot&) = delete;
    Robot& operator=(const Robot&) = delete;

  private:
    void xMakeHumanoid();
    void xMakeComputer();
    void xMakeModules();

    const Options fOptions;
    const std::function<void(const std::string&)> fSay;
    boost::shared_ptr<KVValueTable> fTable;
    std::unique_ptr<MemorySource> fMemory;
    std::vector<boost::shared_ptr<KVModule>> fModules;
    std::unique_ptr<Ticker> fTicker;
    boost::shared_ptr<KVBroker> fBroker;  // last, so that no call runs when the rest goes
};

}  // namespace robot

#endif
