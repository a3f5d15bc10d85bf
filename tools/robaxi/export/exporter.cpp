#include "export/exporter.h"

#include "export/frame_export.h"
#include "export/value_export.h"
#include "process/failure.h"

namespace robaxi_tool {

namespace {

ExportReport exported(const ExportRequest& request) {
    try {
        const recorded_robot::RecordedRobot robot =
            recorded_robot::chosenRobot(request.fReader, request.fFile, request.fRobot);
        return request.fFormat == ExportFormat::Csv ? exportValues(request, robot)
                                                    : exportFrames(request, robot);
    } catch (const recorded_robot::RobotChoiceError& error) {
        throw Failure(ExitStatus::NotFound, std::string(error.what()) + '.');
    }
}

}  // namespace

}  // namespace robaxi_tool

robaxi_tool::Exporter* robaxiExporter() {
    return &robaxi_tool::exported;
}
