#ifndef OBVISTA_TOOLS_ROBAXI_EXPORT_EXPORTER_H
#define OBVISTA_TOOLS_ROBAXI_EXPORT_EXPORTER_H

#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <recorded_robot/recorded_robot.h>
#include <recording/reader.h>
#include <string>
#include <vector>

/**
 * The interface of the library that `robaxi recording export` loads, and `info` for recordings of
 * other programs. It is separate, since
 * GStreamer and protobuf take longer to load than most commands run.
 */
namespace robaxi_tool {

enum class ExportFormat {
    Csv,       ///< the values, each in a row
    WideCsv,   ///< the values in a column for each key
    Matroska,  ///< the frames of a camera as a video
    Png        ///< the frames of a camera, each in a file
};

struct ExportRequest {
    recording::Reader& fReader;
    std::string fFile;  ///< the recording
    ExportFormat fFormat;
    std::string fOutput;
    std::string fRobot;                  ///< may be empty for the only one
    std::vector<std::string> fPatterns;  ///< of keys; empty for all
    std::string fCamera{};               ///< may be empty for the only one
    std::uint64_t fFrom = 0;             ///< log time, included
    std::uint64_t fTo = std::numeric_limits<std::uint64_t>::max();  ///< log time, included
    /** Called with each file as soon as it is created. */
    std::function<void(const std::string&)> fTakeFile{};
};

struct ExportReport {
    std::vector<std::string> fFiles;
    std::uint64_t fRows = 0;  ///< of values
    std::uint64_t fFrames = 0;
    std::uint64_t fDamagedFrames = 0;  ///< left out
    std::uint64_t fLongValues = 0;     ///< left out of a cell of WideCsv
};

/**
 * Exports a robot's values or frames. After an exception the files are not complete.
 *
 * @throws Failure
 * @throws recording::RecordingError
 */
using Exporter = ExportReport(const ExportRequest&);

/**
 * Returns the channels of a robot whose protobuf schema or first picture cannot be read, and the
 * reasons.
 *
 * @throws recording::RecordingError
 */
using ChannelCheck = std::map<std::uint16_t, std::string>(
    recording::Reader& reader, const recorded_robot::RecordedRobot& robot);

}  // namespace robaxi_tool

extern "C" __attribute__((visibility("default"))) robaxi_tool::Exporter* robaxiExporter();

extern "C" __attribute__((visibility("default"))) robaxi_tool::ChannelCheck* robaxiChannelCheck();

#endif
