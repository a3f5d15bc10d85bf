#ifndef OBVISTA_CAMERAVIEWER_CAMERA_BAR_H
#define OBVISTA_CAMERAVIEWER_CAMERA_BAR_H

#include "camera_info.h"

#include <QToolBar>
#include <QVariant>
#include <QVector>

#include <string>
#include <vector>

class QComboBox;

namespace cameraviewer {

/**
 * The choice of a camera and how it is set.
 *
 * What the user wants is signalled; that, too, is shown by showCameras() only.
 */
class CameraBar : public QToolBar {
    Q_OBJECT

  public:
    explicit CameraBar(QWidget* parent);

    /**
     * @param chosen one of the cameras, or null
     * @param settings how it is to be shown as set
     */
    void showCameras(const std::vector<CameraInfo>& cameras, const CameraInfo* chosen,
                     const CameraSettings& settings);

    /** Whether anything can be chosen. */
    void setUsable(bool isUsable);

  Q_SIGNALS:
    void cameraWanted(const std::string& camera);
    void settingsWanted(const cameraviewer::CameraSettings& settings);

  private:
    struct Choice {
        QString fText;
        QVariant fValue;
        QString fToolTip;

        bool operator==(const Choice& other) const;
    };
    using Choices = QVector<Choice>;

    QComboBox* xAddBox(const char* objectName, const QString& name, const QString& toolTip);
    void xFill(QComboBox& box, const Choices& choices, const QVariant& current);
    void xShowSettings();
    void xWant(const CameraSettings& wanted);
    Choices xSizes() const;
    Choices xFormats() const;
    Choices xRates() const;

    CameraInfo fCamera;
    QComboBox* fCameraBox;
    QComboBox* fSizeBox;
    QComboBox* fFormatBox;
    QComboBox* fRateBox;
};

}  // namespace cameraviewer

#endif
