#ifndef OBVISTA_TOOLS_ROBAXI_EXPORT_FRAME_EXPORT_H
#define OBVISTA_TOOLS_ROBAXI_EXPORT_FRAME_EXPORT_H

#include "export/exporter.h"

#include <recorded_robot/recorded_robot.h>

namespace robaxi_tool {

/**
 * Writes the frames of a camera to Matroska files, or each of them to a PNG file NAME-000001.png.
 * Damaged frames are left out.
 */
ExportReport exportFrames(const ExportRequest& request, const recorded_robot::RecordedRobot& robot);

}  // namespace robaxi_tool

#endif
