#ifndef OBVISTA_TOOLS_ROBAXI_EXPORT_VALUE_EXPORT_H
#define OBVISTA_TOOLS_ROBAXI_EXPORT_VALUE_EXPORT_H

#include "export/exporter.h"

#include <recorded_robot/recorded_robot.h>

namespace robaxi_tool {

/**
 * Writes the values of keys to a CSV file, with the columns of the memory viewer's or with one for
 * each key.
 */
ExportReport exportValues(const ExportRequest& request, const recorded_robot::RecordedRobot& robot);

}  // namespace robaxi_tool

#endif
