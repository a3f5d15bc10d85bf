#ifndef OBVISTA_CAMERAVIEWER_CAMERA_VIEWER_WIDGET_H
#define OBVISTA_CAMERAVIEWER_CAMERA_VIEWER_WIDGET_H

#include "camera_memory.h"
#include "figures.h"

#include <obvista/viewer/viewer_widget.h>

#include <QElapsedTimer>
#include <QTimer>

#include <memory>
#include <optional>
#include <vector>

class QLabel;
class QStackedWidget;

namespace cameraviewer {

class CameraBar;
class CameraLink;
class CameraSession;
class CaptureControls;
class HistogramPanel;
class PictureView;
class ViewActions;
struct DecodedPicture;
struct Histogram;

/** Shows the cameras of one robot, or the reason why there is no picture. */
class CameraViewerWidget : public obvista::ViewerWidget {
    Q_OBJECT

  public:
    CameraViewerWidget(std::shared_ptr<CameraLink> link, WidgetInterface* plugin, QWidget* parent);
    ~CameraViewerWidget() override;

    QSize sizeHint() const override;

  private:
    void xBuild();
    void xConnect();
    QWidget* xMakePicturePage();
    void xOnTick();
    void xOnRobotReplaced();
    void xOnCamerasChanged();
    void xUpdateOrigin();
    void xOnCameraChosen();
    void xOnPicture(const DecodedPicture& decoded);
    void xOnPictureShown(quint64 number, qint64 time);
    void xShowHistogram(bool isShown);
    void xApplyStretch();
    void xStretch(const std::vector<Histogram>& histograms);
    void xTell(const QString& sentence);
    void xRecallView();
    void xRememberView();
    RememberedView xView() const;
    void xUpdateReason();
    void xUpdateReadout();
    void xUpdateStatus();
    void xUpdateFigures();
    void xCopyFigures();

    std::shared_ptr<CameraLink> fLink;
    CameraSession* fSession;
    CameraBar* fBar;
    PictureView* fView;
    ViewActions* fActions;
    HistogramPanel* fHistogram;
    CaptureControls* fCapture;
    QStackedWidget* fPages;
    QLabel* fMessage;
    QLabel* fTold;
    QLabel* fReadout;
    QLabel* fStatus;

    std::optional<CameraMemory> fMemory;  // of the robot; never empty
    RememberedView fRemembered;
    QTimer fTick;
    QTimer fToldTime{this};
    FigureMeter fMeter;
    std::int64_t fAgeWhenShown = 0;  // of the last picture, microseconds
    QElapsedTimer fSinceShown;
    Figures fFigures;
    FigureMeter::Clock::time_point fMeasured;
};

}  // namespace cameraviewer

#endif
