#include "recording/file_action.h"

#include "command_line/command_line.h"
#include "process/failure.h"

#include <recording/records.h>
#include <unistd.h>
#include <utility>

namespace robaxi_tool {

EndOnSignal::EndOnSignal(Interruption& interruption, std::string unfinished)
    : fHandler(interruption, [&interruption, unfinished = std::move(unfinished)] {
          if (!unfinished.empty()) {
              unlink(unfinished.c_str());
          }
          _exit(exitStatusOfSignal(interruption.signal()));
      }) {
}

void onRecordings(const std::function<void()>& operation) {
    try {
        operation();
    } catch (const recording::WriteError& error) {
        throw Failure(ExitStatus::CannotWrite, capitalised(error.what()) + '.');
    } catch (const recording::RecordingError& error) {
        throw Failure(ExitStatus::BadRecording, capitalised(error.what()) + '.');
    }
}

}  // namespace robaxi_tool
