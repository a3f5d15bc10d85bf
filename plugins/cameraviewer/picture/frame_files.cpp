#include "frame_files.h"

#include "matroska_files.h"
#include "mcap_frame_file.h"

namespace cameraviewer {

std::unique_ptr<FrameFiles> makeFrameFiles(const QString& file, const PictureOrigin& origin,
                                           std::int64_t freeSpace) {
    if (file.endsWith(QLatin1String(".mkv"), Qt::CaseInsensitive)) {
        return std::make_unique<MatroskaFiles>(file, origin, freeSpace);
    }
    return std::make_unique<McapFrameFile>(file, origin);
}

}  // namespace cameraviewer
