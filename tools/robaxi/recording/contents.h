#ifndef OBVISTA_TOOLS_ROBAXI_RECORDING_CONTENTS_H
#define OBVISTA_TOOLS_ROBAXI_RECORDING_CONTENTS_H

#include "export/exporter.h"

#include <recording/check.h>
#include <recording/copy.h>
#include <recording/reader.h>
#include <recording/repair.h>
#include <string>

namespace robaxi_tool {

/** Returns a number with so many digits behind the point. */
std::string decimal(double number, int digits);

/** Returns for instance "12.3 MB". */
std::string sizeText(std::uint64_t bytes);

/** Returns a time of a recording, for instance "2024-05-01T12:34:56.789012Z". */
std::string recordedTimeText(std::uint64_t nanoseconds);

/** @name Contents of a recording in lines, and in one line of JSON; safe for a terminal */
///@{
std::string textOfRecording(const std::string& path, recording::Reader& reader);
std::string jsonOfRecording(const std::string& path, recording::Reader& reader);
///@}

/** @name Result of a check */
///@{
std::string textOfCheck(const recording::CheckReport& report);
std::string jsonOfCheck(const recording::CheckReport& report);
///@}

/** @param path the new file */
std::string jsonOfCopy(const std::string& path, const recording::CopyReport& report);

std::string jsonOfExport(const ExportReport& report);

/** @param path the repaired file */
std::string jsonOfRepair(const std::string& path, const recording::RepairReport& report);

}  // namespace robaxi_tool

#endif
