#ifndef OBVISTA_CAMERAVIEWER_CAMERA_MEMORY_H
#define OBVISTA_CAMERAVIEWER_CAMERA_MEMORY_H

#include "camera_info.h"

#include <QString>

#include <optional>
#include <string>

namespace cameraviewer {

/**
 * What the user chose for the cameras of one robot, kept in the application's settings under the
 * name that the robot reports.
 */
class CameraMemory {
  public:
    explicit CameraMemory(const std::string& robot);

    /** The camera watched last; empty when there is none. */
    std::string camera() const;
    void setCamera(const std::string& camera);

    std::optional<CameraSettings> settings(const std::string& camera) const;
    void setSettings(const std::string& camera, const CameraSettings& settings);

  private:
    QString xKey(const std::string& camera, const char* name) const;

    QString fGroup;
};

}  // namespace cameraviewer

#endif
