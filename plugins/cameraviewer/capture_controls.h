#ifndef OBVISTA_CAMERAVIEWER_CAPTURE_CONTROLS_H
#define OBVISTA_CAMERAVIEWER_CAPTURE_CONTROLS_H

#include <QObject>
#include <QString>
#include <QThreadPool>

#include <picture_decoder.h>
#include <picture_origin.h>
#include <recorder.h>

class QAction;
class QMenu;
class QWidget;

namespace cameraviewer {

class CameraBar;
class FrameFeed;
class RecordingMark;

/**
 * Takes snapshots and recordings into a folder of the user's, without a question for each.
 *
 * Used on the GUI thread; files are written on others.
 */
class CaptureControls : public QObject {
    Q_OBJECT

  public:
    /** @param feed gives the frames to record, and outlives this */
    CaptureControls(FrameFeed& feed, QWidget* viewer);
    /** Completes what is being written. */
    ~CaptureControls() override;

    void addButtons(CameraBar& bar, QMenu& menu) const;

    /** Whose pictures are shown; nothing can be recorded of a camera without a name. */
    void setOrigin(const PictureOrigin& origin);
    /** What is shown; a null image when that is nothing. */
    void setPicture(const Picture& picture);

    /** Ends a recording; another camera, or none, follows. */
    void stopRecording();
    bool isRecording() const { return fIsRecording; }
    /** How far the recording is; empty when there is none. */
    QString progressText() const;
    /** Brings the mark beside the buttons up to date. To be called some times a second. */
    void showProgress();

  Q_SIGNALS:
    /** A recording begins or has ended. */
    void recordingChanged();
    /** What became of a snapshot or a recording, as a sentence for the user. */
    void told(const QString& sentence);

  private:
    void xTakeSnapshot();
    void xToggleRecording();
    void xOnRecordingEnded();
    void xChooseFolder();
    QString xNewFile(const QString& suffix);

    FrameFeed& fFeed;
    QWidget* fViewer;
    QAction* fSnapshot;
    QAction* fRecord;
    RecordingMark* fMark;  // deleted with the bar
    QAction* fFolder;
    Picture fPicture;
    PictureOrigin fOrigin;
    bool fIsRecording = false;
    Recorder fRecorder;
    QThreadPool fWriters;  // last, so that nothing is written any more when the rest goes
};

}  // namespace cameraviewer

#endif
