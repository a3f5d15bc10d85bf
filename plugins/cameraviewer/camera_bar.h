#ifndef OBVISTA_CAMERAVIEWER_CAMERA_BAR_H
#define OBVISTA_CAMERAVIEWER_CAMERA_BAR_H

#include "camera_info.h"

#include <QVariant>
#include <QVector>
#include <QWidget>

#include <string>
#include <vector>

class QAction;
class QComboBox;
class QMenu;
class QToolButton;

namespace cameraviewer {

/**
 * The choice of a camera and how it is set, and buttons beside it.
 *
 * What the user wants is signalled; that, too, is shown by showCameras() only.
 */
class CameraBar : public QWidget {
    Q_OBJECT

  public:
    explicit CameraBar(QWidget* parent);

    /**
     * @param chosen one of the cameras, or null
     * @param settings how it is to be shown as set
     */
    void showCameras(const std::vector<CameraInfo>& cameras, const CameraInfo* chosen,
                     const CameraSettings& settings);

    /** @name Put at the end. */
    ///@{
    void addButton(QAction* action);
    void addMenuButton(const char* objectName, const QString& text, const QString& toolTip,
                       QMenu* menu);
    /** @param part becomes the bar's */
    void addPart(QWidget* part);
    ///@}

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

    QToolButton* xAddButton();
    QComboBox* xMakeBox(const char* objectName, const QString& name, const QString& toolTip);
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
    QWidget* fLast;  // in the order of Tab
};

}  // namespace cameraviewer

#endif
