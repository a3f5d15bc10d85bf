#ifndef OBVISTA_CAMERAVIEWER_CAMERA_BAR_H
#define OBVISTA_CAMERAVIEWER_CAMERA_BAR_H

#include <picture/camera_info.h>

#include <QVariant>
#include <QVector>
#include <QWidget>

#include <string>
#include <vector>

class QAction;
class QComboBox;
class QLineEdit;
class QMenu;
class QToolButton;

namespace cameraviewer {

/**
 * Boxes for the camera and its settings, with buttons beside them.
 *
 * The user's choices are only emitted as signals; showCameras() updates the boxes.
 */
class CameraBar : public QWidget {
    Q_OBJECT

  public:
    explicit CameraBar(QWidget* parent);

    /** Returns the name of a robot's format ("grey") in the user's language. */
    static QString formatName(const std::string& format);

    /**
     * @param chosen one of the cameras, or null
     * @param settings the settings to show
     * @param isAutomatic true if the bandwidth is adapted to the network
     */
    void showCameras(const std::vector<picture::CameraInfo>& cameras,
                     const picture::CameraInfo* chosen, const picture::CameraSettings& settings,
                     bool isAutomatic);

    /** Shows a field for a camera's name in place of the list if the robot lists no cameras. */
    void setListed(bool isListed);

    /**
     * @name Append parts
     */
    ///@{
    void addButton(QAction* action);
    void addMenuButton(const char* objectName, const QString& text, const QString& toolTip,
                       QMenu* menu);
    /** @param part ownership is transferred to the bar */
    void addPart(QWidget* part);
    ///@}

    /** Enables or disables the boxes and the field. */
    void setUsable(bool isUsable);

  Q_SIGNALS:
    void cameraWanted(const std::string& camera);
    void settingsWanted(const picture::CameraSettings& settings);
    void automaticWanted(bool isAutomatic);

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
    QLineEdit* xMakeNameField();
    void xFill(QComboBox& box, const Choices& choices, const QVariant& current);
    void xShowSettings();
    void xWant(const picture::CameraSettings& wanted);
    Choices xSizes() const;
    Choices xFormats() const;
    Choices xRates() const;
    Choices xBitRates() const;
    bool xHasBitRate() const;

    picture::CameraInfo fCamera;
    bool fIsAutomatic = false;
    QComboBox* fCameraBox;
    QLineEdit* fNameField;
    QComboBox* fSizeBox;
    QComboBox* fFormatBox;
    QComboBox* fRateBox;
    QComboBox* fBitRateBox;  // hidden unless the camera has that setting in use
    QWidget* fLast;          // in tab order
};

}  // namespace cameraviewer

#endif
