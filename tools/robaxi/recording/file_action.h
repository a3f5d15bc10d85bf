#ifndef OBVISTA_TOOLS_ROBAXI_RECORDING_FILE_ACTION_H
#define OBVISTA_TOOLS_ROBAXI_RECORDING_FILE_ACTION_H

#include "process/interruption.h"

#include <functional>
#include <string>
#include <vector>

namespace robaxi_tool {

/**
 * Ends the process on a signal, from the signal watcher's thread, while it exists. For work on
 * files that may take minutes in operations of a library.
 */
class EndOnSignal {
  public:
    /** @param unfinished a file that is removed before; empty for none */
    EndOnSignal(Interruption& interruption, std::string unfinished);

  private:
    InterruptionHandler fHandler;
};

/**
 * Runs an operation on recordings.
 *
 * @throws Failure BadRecording or CannotWrite for a RecordingError
 */
void onRecordings(const std::function<void()>& operation);

}  // namespace robaxi_tool

#endif
