#ifndef OBVISTA_CAMERAVIEWER_CAMERA_MEMORY_H
#define OBVISTA_CAMERAVIEWER_CAMERA_MEMORY_H

#include "view_geometry.h"

#include <obvista/viewer/robot_settings.h>
#include <picture/camera_info.h>

#include <optional>
#include <string>

namespace cameraviewer {

/** Saved view settings for one robot. */
struct RememberedView {
    ViewForm fForm;
    bool fHasGrid = false;
    bool fHasHistogram = false;
    bool fIsStretching = false;

    bool operator==(const RememberedView& other) const;
};

/** The user's saved choices for the cameras of one robot. */
class CameraMemory {
  public:
    explicit CameraMemory(const std::string& robot);

    /** Returns the camera watched last; empty if there is none. */
    std::string camera() const;
    void setCamera(const std::string& camera);

    std::optional<picture::CameraSettings> settings(const std::string& camera) const;
    void setSettings(const std::string& camera, const picture::CameraSettings& settings);

    /** Returns true if the bandwidth of a camera is adapted to the network. */
    bool isAutomatic(const std::string& camera) const;
    void setAutomatic(const std::string& camera, bool isAutomatic);

    RememberedView view() const;
    /** Saves what differs from the view that was returned or saved before. */
    void setView(const RememberedView& before, const RememberedView& view);

  private:
    obvista::RobotSettings fSettings;
};

}  // namespace cameraviewer

#endif
