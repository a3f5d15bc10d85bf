#ifndef OBVISTA_CAMERAVIEWER_CAPTURE_CONTROLS_H
#define OBVISTA_CAMERAVIEWER_CAPTURE_CONTROLS_H

#include "picture/picture_decoder.h"
#include "picture/picture_origin.h"
#include "picture/recorder.h"

#include <QObject>
#include <QSet>
#include <QString>
#include <QThreadPool>

class QAction;
class QActionGroup;
class QMenu;
class QWidget;

namespace cameraviewer {

class CameraBar;
class FrameFeed;
class RecordingMark;

/**
 * Saves snapshots and recordings in a folder of the user, without asking each time.
 *
 * Used on the GUI thread; files are written on others.
 */
class CaptureControls : public QObject {
    Q_OBJECT

  public:
    /** @param feed source of the frames to record; must outlive this object */
    CaptureControls(FrameFeed& feed, QWidget* viewer);
    /** Completes files that are being written. */
    ~CaptureControls() override;

    void addButtons(CameraBar& bar, QMenu& menu) const;

    /** Sets the origin of the pictures; a camera without a name cannot be recorded. */
    void setOrigin(const PictureOrigin& origin);
    /** Sets the displayed picture; a null image if there is none. */
    void setPicture(const Picture& picture);

    /** Marks a gap in a recording, if there is one. */
    void markGap(StreamEnd::Kind kind, const QString& reason);
    /** Ends a recording; called before the camera changes. */
    void stopRecording();
    bool isRecording() const { return fIsRecording; }
    /** Returns the progress of the recording; empty if there is none. */
    QString progressText() const;
    /** Updates the mark beside the buttons. Call it several times a second. */
    void showProgress();

  Q_SIGNALS:
    /** Emitted when a recording has started or ended. */
    void recordingChanged();
    /** Emitted with the result of a snapshot or a recording, as a sentence for the user. */
    void told(const QString& sentence);

  private:
    void xTakeSnapshot();
    void xToggleRecording();
    void xOnRecordingEnded();
    void xChooseFolder();
    void xAddFormat(const QString& text, const QString& suffix);
    QString xNewFile(const QString& suffix);

    FrameFeed& fFeed;
    QWidget* fViewer;
    QAction* fSnapshot;
    QAction* fRecord;
    RecordingMark* fMark;  // deleted with the bar
    QAction* fFolder;
    QMenu* fFormats;
    QActionGroup* fFormatGroup;
    Picture fPicture;
    PictureOrigin fOrigin;
    QSet<QString> fSnapshots;  // files that are being written
    bool fIsRecording = false;
    Recorder fRecorder;
    QThreadPool fWriters;  // last: writing ends before the other members are destroyed
};

}  // namespace cameraviewer

#endif
