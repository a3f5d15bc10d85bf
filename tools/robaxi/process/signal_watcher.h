#ifndef OBVISTA_TOOLS_ROBAXI_PROCESS_SIGNAL_WATCHER_H
#define OBVISTA_TOOLS_ROBAXI_PROCESS_SIGNAL_WATCHER_H

#include "process/interruption.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>

#include <thread>

namespace robaxi_tool {

/**
 * Converts SIGINT, SIGTERM and SIGHUP into an interruption, on a dedicated thread. Signals that the
 * parent process ignored (nohup) stay ignored. A command that is blocked in a call that cannot be
 * cancelled, for instance connecting, has a moment to end; then the program exits without it,
 * unless the command is completing its work (see Interruption::setCompleting()).
 *
 * Create it before any other thread, whose system calls the signals would interrupt. It ignores
 * SIGPIPE and SIGXFSZ, whose causes are reported by write().
 */
class SignalWatcher {
  public:
    explicit SignalWatcher(Interruption& interruption);
    ~SignalWatcher();
    SignalWatcher(const SignalWatcher&) = delete;
    SignalWatcher& operator=(const SignalWatcher&) = delete;

  private:
    boost::asio::io_context fContext;
    boost::asio::signal_set fSignals;
    boost::asio::steady_timer fGrace;
    std::thread fThread;
};

}  // namespace robaxi_tool

#endif
