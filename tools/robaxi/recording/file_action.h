#ifndef OBVISTA_TOOLS_ROBAXI_RECORDING_FILE_ACTION_H
#define OBVISTA_TOOLS_ROBAXI_RECORDING_FILE_ACTION_H

#include "process/interruption.h"

#include <functional>
#include <mutex>
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
    EndOnSignal(Interruption& interruption, const std::string& unfinished);

    /** Adds a file that is removed before. */
    void add(const std::string& unfinished);
    void removeFiles();

  private:
    std::mutex fMutex;  ///< guards the files
    std::vector<std::string> fFiles;
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
