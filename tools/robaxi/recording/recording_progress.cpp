#include "recording/recording_progress.h"

#include "recording/contents.h"
#include "values/value_text.h"

#include <base/safe_text.h>

#include <cmath>

namespace robaxi_tool {

namespace {

/** Returns what was added in a second. */
std::uint64_t rateOf(std::uint64_t now, std::uint64_t before, double seconds) {
    return seconds > 0 && now > before ? static_cast<std::uint64_t>(std::llround(
                                             static_cast<double>(now - before) / seconds))
                                       : 0;
}

std::string countsOf(const RecordingProgress& progress) {
    std::string text;
    if (progress.fPassedOver > 0) {
        text += ", " + std::to_string(progress.fPassedOver) + " values passed over";
    }
    if (progress.fDropped > 0) {
        text += ", " + std::to_string(progress.fDropped) + " dropped";
    }
    if (progress.fMissedFrames > 0) {
        text += ", " + std::to_string(progress.fMissedFrames) + " frames missed";
    }
    return text;
}

}  // namespace

std::string textOfProgress(const RecordingProgress& progress, const RecordingProgress& before) {
    const double seconds = progress.fSeconds - before.fSeconds;
    std::string text =
        decimal(progress.fSeconds, 0) + " s, " + sizeText(progress.fBytes) + " (" +
        sizeText(rateOf(progress.fBytes, before.fBytes, seconds)) + "/s), " +
        std::to_string(rateOf(progress.fValues, before.fValues, seconds)) + " values/s, " +
        std::to_string(rateOf(progress.fFrames, before.fFrames, seconds)) + " frames/s" +
        countsOf(progress) + ", " + sizeText(progress.fFreeBytes) + " free";
    for (const std::string& robot : progress.fLost) {
        text += ", " + base::oneLine(robot) + " is not connected";
    }
    return text;
}

std::string jsonOfProgress(const RecordingProgress& progress) {
    return jsonLine({{"seconds", progress.fSeconds},
                     {"bytes", progress.fBytes},
                     {"values", progress.fValues},
                     {"frames", progress.fFrames},
                     {"passed_over", progress.fPassedOver},
                     {"dropped", progress.fDropped},
                     {"missed_frames", progress.fMissedFrames},
                     {"free_bytes", progress.fFreeBytes},
                     {"lost", progress.fLost}});
}

std::string summaryOf(const RecordingProgress& progress) {
    return sizeText(progress.fBytes) + " in " + decimal(progress.fSeconds, 1) +
           " s: " + std::to_string(progress.fValues) + " values, " +
           std::to_string(progress.fFrames) + " frames" + countsOf(progress);
}

}  // namespace robaxi_tool
