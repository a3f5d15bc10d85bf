#include "recording/change_file.h"

#include "recording/csv_change_file.h"
#include "recording/mcap_change_file.h"

namespace memoryviewer {

std::unique_ptr<ChangeFile> makeChangeFile(const QString& fileName,
                                           const robot_recording::RobotOrigin& robot) {
    if (fileName.endsWith(QLatin1String(".csv"), Qt::CaseInsensitive)) {
        return std::make_unique<CsvChangeFile>();
    }
    return std::make_unique<McapChangeFile>(robot);
}

}  // namespace memoryviewer
