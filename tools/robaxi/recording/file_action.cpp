#include "recording/file_action.h"

#include "command_line/command_line.h"
#include "process/failure.h"

#include <recording/records.h>
#include <unistd.h>

namespace robaxi_tool {

EndOnSignal::EndOnSignal(Interruption& interruption, const std::string& unfinished)
    : fHandler(interruption, [this, &interruption] {
          removeFiles();
          _exit(exitStatusOfSignal(interruption.signal()));
      }) {
    if (!unfinished.empty()) {
        add(unfinished);
    }
}

void EndOnSignal::add(const std::string& unfinished) {
    const std::lock_guard lock(fMutex);
    fFiles.push_back(unfinished);
}

void EndOnSignal::removeFiles() {
    const std::lock_guard lock(fMutex);
    for (const std::string& file : fFiles) {
        unlink(file.c_str());
    }
    fFiles.clear();
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
