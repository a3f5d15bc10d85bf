#include "camera_viewer_widget.h"

#include "camera_bar.h"
#include "camera_link.h"
#include "camera_session.h"
#include "capture_controls.h"
#include "histogram_panel.h"
#include "picture_grid.h"
#include "picture_view.h"
#include "view_actions.h"

#include <base/time.h>
#include <obvista/viewer/labels.h>
#include <obvista/viewer/plain_text.h>
#include <picture/pixel_format.h>

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDateTime>
#include <QFocusEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <utility>

namespace cameraviewer {

namespace {

/** Period in milliseconds for polling the elapsed time, which no signal reports. */
constexpr int a_tickTime = 200;
constexpr std::chrono::milliseconds a_figureTime{1000};
constexpr int a_toldTime = 10000;
constexpr int a_widthInCharacters = 110;
constexpr int a_heightInLines = 38;
constexpr int a_percent = 100;

/** Returns true if the value sent by the camera for a pixel is its red, green and blue. */
bool isSentAsRgb(const Picture& picture) {
    const bool isGrey = picture.fImage.format() == QImage::Format_Grayscale8;
    return !isGrey && picture.fFrame.fFormat != KVPixelFormat::Yuv422;
}

}  // namespace

CameraViewerWidget::CameraViewerWidget(std::shared_ptr<CameraLink> link, WidgetInterface* plugin,
                                       QWidget* parent)
    : ViewerWidget(link, plugin, parent),
      fLink(std::move(link)),
      fSession(new CameraSession(fLink, this)),
      fBar(new CameraBar(this)),
      fView(new PictureView(this)),
      fActions(new ViewActions(fView)),
      fHistogram(new HistogramPanel(this)),
      fCapture(new CaptureControls(fLink->feed(), this)),
      fPages(new QStackedWidget(this)),
      fMessage(obvista::makeMessage("cameraMessage", this)),
      fTold(obvista::makeBanner("cameraTold", this)),
      fReadout(obvista::makeStatusLines("cameraReadout", this)),
      fStatus(obvista::makeStatusLines("cameraStatus", this)),
      fMemory(fLink->robotName()),
      fMeter(FigureMeter::Clock::now()),
      fMeasured(FigureMeter::Clock::now()) {
    xBuild();
    xConnect();
    xRecallView();
    xUpdateReason();
    xUpdateReadout();
    xUpdateStatus();
    fTick.start(a_tickTime);
}

CameraViewerWidget::~CameraViewerWidget() {
    xRememberView();
    // Both use the link, which the base class closes.
    delete fCapture;
    delete fSession;
}

QSize CameraViewerWidget::sizeHint() const {
    const QFontMetrics metrics = fontMetrics();
    return {a_widthInCharacters * metrics.averageCharWidth(), a_heightInLines * metrics.height()};
}

void CameraViewerWidget::xBuild() {
    setObjectName(QStringLiteral("cameraViewer"));
    setWindowTitle(tr("Camera viewer"));
    resize(sizeHint());
    setMainPart(fView);

    fActions->addButtons(*fBar);
    fBar->addMenuButton("viewButton", tr("&View"), tr("Actions on the picture"), fActions->menu());
    fCapture->addButtons(*fBar, *fActions->menu());

    auto* copy = new QAction(tr("Cop&y figures"), this);
    copy->setObjectName(QStringLiteral("copyFiguresAction"));
    copy->setShortcut(Qt::CTRL + Qt::SHIFT + Qt::Key_C);
    copy->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    copy->setAutoRepeat(false);
    connect(copy, &QAction::triggered, this, &CameraViewerWidget::xCopyFigures);
    addAction(copy);
    fActions->menu()->addSeparator();
    fActions->menu()->addAction(copy);

    obvista::KeyGroup keys = obvista::keysOf(tr("Picture"), fActions->menu()->actions());
    const QString arrows = QStringLiteral("\u2190 \u2192 \u2191 \u2193");
    keys.fKeys.push_back({arrows, tr("pan an enlarged picture")});
    //: %1 is a list of keys
    keys.fKeys.push_back({tr("Shift with %1").arg(arrows), tr("inspect the next pixel")});
    keys.fKeys.push_back({obvista::keyText(Qt::Key_Escape), tr("stop inspecting pixels")});
    addKeys(keys);
    fView->setContextMenuPolicy(Qt::CustomContextMenu);
    fHistogram->hide();
    fTold->hide();
    fToldTime.setObjectName(QStringLiteral("toldTimer"));
    fToldTime.setSingleShot(true);

    fPages->addWidget(fMessage);
    fPages->addWidget(xMakePicturePage());
    layOut(fBar, {fTold, fPages, fReadout, fStatus}, fPages);
}

QWidget* CameraViewerWidget::xMakePicturePage() {
    auto* page = new QWidget(this);
    auto* column = new QVBoxLayout(page);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(fView, 1);
    column->addWidget(fHistogram);
    return page;
}

void CameraViewerWidget::xConnect() {
    connect(fSession, &CameraSession::camerasChanged, this, &CameraViewerWidget::xOnCamerasChanged);
    connect(fSession, &CameraSession::cameraChosen, this, &CameraViewerWidget::xOnCameraChosen);
    connect(fSession, &CameraSession::settingsTaken, fTold, &QLabel::hide);
    connect(fSession, &CameraSession::settingsRefused, this,
            //: %1 is the robot's own sentence
            [this](const QString& reason) { xTell(tr("The robot refuses: %1").arg(reason)); });
    connect(fSession, &CameraSession::pictureReady, this, &CameraViewerWidget::xOnPicture);
    connect(fSession, &CameraSession::situationChanged, this, &CameraViewerWidget::xUpdateReason);
    connect(this, &ViewerWidget::newsArrived, fSession, &CameraSession::takeNews);
    connect(this, &ViewerWidget::replayChanged, this, [this] {
        fSession->setReplay(replayState());
        if (const QString text = obvista::replayText(replayState()); text != fFigures.fReplay) {
            fFigures.fReplay = text;
            xUpdateStatus();
        }
    });
    connect(this, &ViewerWidget::seenChanged, fSession, &CameraSession::setSeen);
    connect(this, &ViewerWidget::linkInterrupted, this, [this] {
        fSession->interrupt();
        fCapture->markGap(StreamEnd::Kind::Lost, tr("The connection to the robot was lost."));
    });
    connect(this, &ViewerWidget::robotReplaced, this, &CameraViewerWidget::xOnRobotReplaced);
    connect(this, &ViewerWidget::linkRestored, this, &CameraViewerWidget::xUpdateOrigin);
    connect(this, &ViewerWidget::linkRestored, fSession, &CameraSession::resume);
    connect(this, &ViewerWidget::silenceChanged, this, [this](bool isSilent) {
        if (isSilent) {
            fCapture->markGap(StreamEnd::Kind::Silent, tr("The robot does not answer."));
        }
    });
    connect(this, &ViewerWidget::linkEnded, this, [this] {
        xRememberView();  // for a viewer that is opened next
        fSession->end(linkState());
        fCapture->stopRecording();
    });

    connect(fBar, &CameraBar::cameraWanted, this, [this](const std::string& camera) {
        fCapture->stopRecording();
        fSession->chooseCamera(camera);
    });
    connect(fBar, &CameraBar::automaticWanted, fSession, &CameraSession::setAutomatic);
    connect(fBar, &CameraBar::settingsWanted, fSession, &CameraSession::changeSettings);
    connect(fActions->pause(), &QAction::toggled, fSession, &CameraSession::setPaused);
    connect(fActions->histogram(), &QAction::toggled, this, &CameraViewerWidget::xShowHistogram);
    connect(fHistogram, &HistogramPanel::stretchingChanged, this,
            &CameraViewerWidget::xApplyStretch);
    connect(fView, &PictureView::pictureShown, this, &CameraViewerWidget::xOnPictureShown);
    connect(fView, &PictureView::pixelChanged, this, &CameraViewerWidget::xUpdateReadout);
    connect(fView, &PictureView::geometryChanged, this, &CameraViewerWidget::xUpdateReadout);
    connect(fView, &QWidget::customContextMenuRequested, this,
            [this](const QPoint& at) { fActions->menu()->popup(fView->mapToGlobal(at)); });
    connect(fCapture, &CaptureControls::recordingChanged, this, [this] {
        fSession->setRecording(fCapture->isRecording());
        fCapture->showProgress();
        xUpdateStatus();
    });
    connect(fCapture, &CaptureControls::told, this, &CameraViewerWidget::xTell);
    connect(&fToldTime, &QTimer::timeout, fTold, &QLabel::hide);
    connect(&fTick, &QTimer::timeout, this, &CameraViewerWidget::xOnTick);
}

void CameraViewerWidget::xOnTick() {
    xRememberView();
    fSession->tick();
    fCapture->showProgress();
    if (FigureMeter::Clock::now() - fMeasured >= a_figureTime) {
        xUpdateFigures();
    }
}

void CameraViewerWidget::xOnCamerasChanged() {
    fBar->setListed(fSession->canListCameras());
    fBar->showCameras(fSession->cameras(), fSession->camera(), fSession->settings(),
                      fSession->isAutomatic());
    xUpdateOrigin();
    const picture::CameraInfo* camera = fSession->camera();
    setReplayCamera(camera != nullptr ? camera->fName : std::string());
    xUpdateReason();
    xUpdateReadout();
}

void CameraViewerWidget::xOnRobotReplaced() {
    fCapture->stopRecording();
    xRememberView();
    fMemory.emplace(fLink->robotName());
    fSession->replaceRobot();
    xRecallView();
}

/** The address of a robot that has returned may be another one. */
void CameraViewerWidget::xUpdateOrigin() {
    const picture::CameraInfo* camera = fSession->camera();
    fCapture->setOrigin({QString::fromStdString(fLink->robotName()),
                         camera != nullptr ? QString::fromStdString(camera->fName) : QString(),
                         camera != nullptr ? camera->fDescription : std::string(), fLink->address(),
                         fLink->port()});
}

void CameraViewerWidget::xOnCameraChosen() {
    fCapture->stopRecording();
    fView->clear();
    fCapture->setPicture({});
    fHistogram->showHistograms({});
    fMeter.restart(fLink->feed().counts(), FigureMeter::Clock::now());
    // The last picture requests the next one when it is painted, and may not have been.
    fSession->requestPicture();
    xUpdateReason();
}

void CameraViewerWidget::xOnPicture(const DecodedPicture& decoded) {
    // The picture decoded when the histogram was opened has none yet.
    if (fActions->histogram()->isChecked() && !decoded.fHistograms.empty()) {
        fHistogram->showHistograms(decoded.fHistograms);
        if (fHistogram->isStretching()) {
            xStretch(decoded.fHistograms);
        }
    }
    const KVPixelFormat before = fView->picture().fFrame.fFormat;
    fView->setPicture(decoded.fPicture);
    fCapture->setPicture(decoded.fPicture);
    if (decoded.fPicture.fFrame.fFormat != before) {
        xUpdateReadout();
    }
}

void CameraViewerWidget::xOnPictureShown(quint64 /*number*/, qint64 time) {
    fAgeWhenShown = base::microsecondsNow() - time;
    fSinceShown.start();
    fMeter.addShown(fAgeWhenShown);
    fSession->requestPicture();
}

void CameraViewerWidget::xShowHistogram(bool isShown) {
    fHistogram->setVisible(isShown);
    fLink->worker().setHistogramWanted(isShown);
    if (isShown && fView->hasPicture()) {
        fHistogram->showHistograms(histogramsOf(fView->picture().fImage));
    }
    xApplyStretch();
}

void CameraViewerWidget::xApplyStretch() {
    const bool isWanted = fActions->histogram()->isChecked() && fHistogram->isStretching();
    xStretch(isWanted ? histogramsOf(fView->picture().fImage) : std::vector<Histogram>());
}

/** Stretching does not apply to colours. */
void CameraViewerWidget::xStretch(const std::vector<Histogram>& histograms) {
    if (histograms.size() == 1) {
        fView->setGreyRange(histograms.front().fMinimum, histograms.front().fMaximum);
    } else {
        fView->setFullGreyRange();
    }
}

void CameraViewerWidget::xTell(const QString& sentence) {
    fTold->setText(sentence);
    fTold->show();
    fToldTime.start(a_toldTime);
}

void CameraViewerWidget::xRecallView() {
    const RememberedView view = fMemory->view();
    fView->setForm(view.fForm);
    fActions->grid()->setChecked(view.fHasGrid);
    fHistogram->setStretching(view.fIsStretching);
    fActions->histogram()->setChecked(view.fHasHistogram);
    fRemembered = xView();
}

/**
 * Called at each tick and not at each change, since the wheel changes the zoom many times a second,
 * and each call writes the settings file.
 */
void CameraViewerWidget::xRememberView() {
    const RememberedView view = xView();
    if (!(view == fRemembered)) {
        fMemory->setView(fRemembered, view);
        fRemembered = view;
    }
}

RememberedView CameraViewerWidget::xView() const {
    return {fView->geometry().form(), fView->hasGrid(), fActions->histogram()->isChecked(),
            fHistogram->isStretching()};
}

void CameraViewerWidget::xUpdateReason() {
    const Situation situation = fSession->situation();
    const QString reason = reasonOf(situation);
    const bool hasPicture = fView->hasPicture();
    const bool isInterrupted = situation.fLink == obvista::LinkState::Interrupted;
    fMessage->setText(reason);
    QStringList sentences;
    if (hasPicture && !reason.isEmpty()) {
        if (!isInterrupted) {  // the kit says it otherwise
            sentences += reason;
        }
        sentences += tr("This is the last picture.");
    }
    setBanner(sentences.join(QLatin1Char(' ')));
    fPages->setCurrentIndex(hasPicture ? 1 : 0);
    fBar->setUsable(situation.fLink == obvista::LinkState::Connected);
}

void CameraViewerWidget::xUpdateReadout() {
    if (!fView->hasPicture()) {
        fReadout->clear();
        return;
    }
    const Picture& picture = fView->picture();
    const QString zoom =
        QString::number(fView->geometry().zoom() * a_percent, 'f', 0) + QLatin1String(" %");
    QStringList parts{QStringLiteral("%1 \u00D7 %2 %3")
                          .arg(picture.fImage.width())
                          .arg(picture.fImage.height())
                          .arg(CameraBar::formatName(picture::formatName(picture.fFrame.fFormat))),
                      //: %1 is a zoom factor
                      fView->geometry().isFitted() ? tr("fitted, %1").arg(zoom) : zoom};
    if (fView->hasGrid()) {
        const int step = gridStep(fView->geometry());
        //: distance of the lines, in pixels
        parts += step == 1 ? tr("grid of pixels") : tr("grid of %1 pixels").arg(step);
    }
    if (const std::optional<QPoint> pixel = fView->pixel()) {
        //: column and row
        parts += tr("pixel %1, %2").arg(pixel->x()).arg(pixel->y());
        parts += rawText(picture, *pixel);
        if (!isSentAsRgb(picture)) {
            const QRgb color = picture.fImage.pixel(*pixel);
            parts += QStringLiteral("RGB %1 %2 %3")
                         .arg(qRed(color))
                         .arg(qGreen(color))
                         .arg(qBlue(color));
        }
    }
    obvista::setStatus(*fReadout, parts.join(obvista::statusSeparator()));
}

void CameraViewerWidget::xUpdateFigures() {
    fMeasured = FigureMeter::Clock::now();
    fFigures = fMeter.measure(fLink->feed().counts(), fMeasured);
    const bool isConnected = linkState() == obvista::LinkState::Connected && fLink->silence() == 0;
    if (!isConnected && !fFigures.fAge && fSinceShown.isValid() && fView->hasPicture()) {
        fFigures.fAge = static_cast<double>(fAgeWhenShown);
        fFigures.fKept =
            static_cast<double>(fSinceShown.nsecsElapsed()) / base::a_nanosecondsPerMicrosecond;
    }
    if (const obvista::ReplayState& replay = replayState(); replay.isReplay()) {
        fFigures.fReplay = obvista::replayText(replay);
        fFigures.fAge.reset();
        if (fView->hasPicture()) {
            const std::int64_t age =
                replay.robotTime(replay.fPosition) - fView->picture().fFrame.fTime;
            // A frame can arrive before the position.
            fFigures.fAge = std::max(0.0, static_cast<double>(age));
        }
    }
    xUpdateStatus();
}

void CameraViewerWidget::xUpdateStatus() {
    const QString recording = fCapture->progressText();
    const QString figures = figuresLine(fFigures);
    obvista::setStatus(
        *fStatus, recording.isEmpty() ? figures : recording + obvista::statusSeparator() + figures);
}

void CameraViewerWidget::xCopyFigures() {
    const picture::CameraInfo* camera = fSession->camera();
    //: after "Camera:", when no camera is chosen
    const QString name = camera != nullptr ? obvista::plainText(camera->fName) : tr("none");
    QApplication::clipboard()->setText(
        //: %1 is a name and an address
        tr("Robot: %1").arg(robotName() + obvista::statusSeparator() + robotAddress()) +
        //: %1 is a name
        QLatin1Char('\n') + tr("Camera: %1").arg(name) + QLatin1Char('\n') +
        figuresReport(fFigures));
    xTell(tr("The figures were copied to the clipboard."));
}

}  // namespace cameraviewer
