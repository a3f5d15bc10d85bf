#ifndef OBVISTA_TOOLS_ROBAXI_PROCESS_SIGNAL_WATCHER_H
#define OBVISTA_TOOLS_ROBAXI_PROCESS_SIGNAL_WATCHER_H

#include "process/interruption.h"

#include <thread>

namespace robaxi_tool {

/**
 * Turns SIGINT, SIGTERM and SIGHUP into an interruption, on a thread of its own; those that the
 * program's parent had ignored (nohup) stay ignored. A command that is stuck in a call that cannot
 * be cancelled, connecting for instance, has a moment to end; then the program ends without it.
 *
 * To be made before any other thread, which would take the signals otherwise. SIGPIPE is ignored
 * from then on.
 */
class SignalWatcher {
  public:
    explicit SignalWatcher(Interruption& interruption);
    ~SignalWatcher();
    SignalWatcher(const SignalWatcher&) = delete;
    SignalWatcher& operator=(const SignalWatcher&) = delete;

  private:
    void xRun();

    Interruption& fInterruption;
    int fSignals;
    int fEnd;
    std::thread fThread;
};

}  // namespace robaxi_tool

#endif
