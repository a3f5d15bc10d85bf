#include "capture_controls.h"

#include "camera_bar.h"
#include "figures.h"
#include "frame_feed.h"
#include "picture/snapshot.h"
#include "recording_mark.h"
#include "view_actions.h"

#include <base/time.h>
#include <obvista/viewer/labels.h>
#include <obvista/viewer/value_text.h>
#include <obvista/viewer/viewer_widget.h>

#include <QAction>
#include <QActionGroup>
#include <QDir>
#include <QFileDialog>
#include <QMenu>
#include <QSettings>
#include <QStandardPaths>

namespace cameraviewer {

namespace {

constexpr char a_folderKey[] = "CameraViewer/folder";
constexpr char a_formatKey[] = "CameraViewer/recordingFormat";
/** Pictures that wait for a slow disk; each takes up to some ten megabytes. */
constexpr int a_mostSnapshots = 8;

QString folder() {
    const QString chosen = QSettings().value(QLatin1String(a_folderKey)).toString();
    return chosen.isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::PicturesLocation)
                            : chosen;
}

/** Returns the suffix of recordings. */
QString format() {
    const QString matroska = QStringLiteral("mkv");
    const bool isMatroska = QSettings().value(QLatin1String(a_formatKey)).toString() == matroska;
    return isMatroska ? matroska : QStringLiteral("mcap");
}

QString shown(const QString& file) {
    return QDir::toNativeSeparators(file);
}

QString savedText(const QString& file) {
    const QFileInfo info(file);
    //: %1 is a folder, %2 the name of a file
    return CaptureControls::tr("Picture saved in the folder %1 as %2")
        .arg(shown(info.path()), info.fileName());
}

/** Returns a text about a recording that has ended. */
QString endText(const RecorderStatus& status) {
    if (status.fState == RecorderStatus::State::Failed) {
        return status.fFailure;
    }
    if (status.fFrames == 0) {
        return CaptureControls::tr("Nothing was recorded, since no picture arrived.");
    }
    //: %1 is a duration, %2 a size such as "2.5 MB", %3 a file
    return CaptureControls::tr("Recorded %1 s (%2) to %3")
        .arg(QString::number(status.fSeconds, 'f', 1), obvista::sizeText(status.fBytes),
             shown(status.fFile));
}

QAction* makeAction(const char* objectName, const QString& text, const QString& toolTip,
                    const QKeySequence& key, QWidget* viewer) {
    auto* action = new QAction(text, viewer);
    action->setObjectName(QLatin1String(objectName));
    action->setShortcut(key);
    // Another viewer in the same window has the same keys.
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    action->setAutoRepeat(false);
    explainWithKey(*action, toolTip);
    action->setEnabled(false);
    viewer->addAction(action);
    return action;
}

}  // namespace

CaptureControls::CaptureControls(FrameFeed& feed, QWidget* viewer)
    : QObject(viewer),
      fFeed(feed),
      fViewer(viewer),
      fSnapshot(makeAction("snapshotAction", tr("&Snapshot"),
                           tr("Save the displayed picture as a PNG file"), Qt::CTRL + Qt::Key_S,
                           viewer)),
      fRecord(makeAction("recordAction", tr("Re&cord"),
                         tr("Record the pictures of this camera to a file"), Qt::CTRL + Qt::Key_R,
                         viewer)),
      fMark(new RecordingMark(viewer)),
      fFolder(new QAction(tr("Folder for pictures and recordings\u2026"), viewer)),
      fFormats(new QMenu(tr("Recording format"), viewer)),
      fFormatGroup(new QActionGroup(this)) {
    fFolder->setObjectName(QStringLiteral("folderAction"));
    fFormats->setObjectName(QStringLiteral("recordingFormatMenu"));
    xAddFormat(tr("MCAP: all data as sent"), QStringLiteral("mcap"));
    xAddFormat(tr("Matroska: for video players"), QStringLiteral("mkv"));
    fRecord->setCheckable(true);
    fWriters.setMaxThreadCount(1);
    connect(fSnapshot, &QAction::triggered, this, &CaptureControls::xTakeSnapshot);
    connect(fRecord, &QAction::triggered, this, &CaptureControls::xToggleRecording);
    connect(fFolder, &QAction::triggered, this, &CaptureControls::xChooseFolder);
    connect(&fRecorder, &Recorder::ended, this, &CaptureControls::xOnRecordingEnded,
            Qt::QueuedConnection);
}

CaptureControls::~CaptureControls() {
    fFeed.setTap(nullptr);
    fWriters.waitForDone();
}

void CaptureControls::addButtons(CameraBar& bar, QMenu& menu) const {
    bar.addButton(fSnapshot);
    bar.addButton(fRecord);
    bar.addPart(fMark);
    menu.addSeparator();
    menu.addActions({fSnapshot, fRecord, fFolder});
    menu.addMenu(fFormats);
}

void CaptureControls::setOrigin(const PictureOrigin& origin) {
    fOrigin = origin;
    fRecord->setEnabled(!origin.fCamera.isEmpty());
}

void CaptureControls::setPicture(const Picture& picture) {
    fPicture = picture;
    fSnapshot->setEnabled(!picture.fImage.isNull());
}

void CaptureControls::markGap(StreamEnd::Kind kind, const QString& reason) {
    if (fIsRecording) {
        fRecorder.offer(StreamEnd{kind, reason.toStdString()});
    }
}

void CaptureControls::stopRecording() {
    if (fIsRecording) {
        fIsRecording = false;
        fFeed.setTap(nullptr);
        fRecorder.stop();
        fRecord->setChecked(false);
        Q_EMIT recordingChanged();
    }
}

void CaptureControls::showProgress() {
    const RecorderStatus status = fRecorder.status();
    if (status.fState == RecorderStatus::State::Recording) {
        fMark->showProgress(status.fSeconds, status.fBytes);
    } else {
        fMark->hide();
    }
}

QString CaptureControls::progressText() const {
    const RecorderStatus status = fRecorder.status();
    switch (status.fState) {
        case RecorderStatus::State::Recording:
            break;
        case RecorderStatus::State::Finishing:
            return tr("Completing the recording\u2026");
        case RecorderStatus::State::Idle:
        case RecorderStatus::State::Done:
        case RecorderStatus::State::Failed:
            return {};
    }
    QStringList parts{
        tr("Recording: %1 s").arg(QString::number(status.fSeconds, 'f', 1)),
        tr("%1 frames", nullptr, obvista::pluralOf(status.fFrames)).arg(status.fFrames),
        obvista::sizeText(status.fBytes)};
    if (status.fDropped > 0) {
        //: %1 is a number of pictures
        parts += tr("%1 not recorded: the disk or the processor is too slow", nullptr,
                    obvista::pluralOf(status.fDropped))
                     .arg(status.fDropped);
    }
    return parts.join(obvista::statusSeparator());
}

void CaptureControls::xTakeSnapshot() {
    if (fPicture.fImage.isNull()) {
        return;
    }
    if (fSnapshots.size() >= a_mostSnapshots) {
        Q_EMIT told(tr("No picture was saved, since the previous ones are still being written."));
        return;
    }
    const QString file = xNewFile(QStringLiteral("png"));
    fSnapshots.insert(file);
    fWriters.start([this, picture = fPicture, origin = fOrigin, file] {
        const QString failure = writeSnapshot(picture, origin, file);
        QMetaObject::invokeMethod(
            this,
            [this, failure, file] {
                fSnapshots.remove(file);
                Q_EMIT told(failure.isEmpty() ? savedText(file) : failure);
            },
            Qt::QueuedConnection);
    });
}

void CaptureControls::xToggleRecording() {
    if (fIsRecording) {
        stopRecording();
        return;
    }
    const RecorderStatus::State state = fRecorder.status().fState;
    if (state == RecorderStatus::State::Finishing) {
        fRecord->setChecked(false);
        Q_EMIT told(tr("The previous recording is still being completed."));
        return;
    }
    fIsRecording = true;
    fRecord->setChecked(true);
    fRecorder.start(xNewFile(format()), fOrigin);
    fFeed.setTap(
        [this](const picture::CheckedFrame& frame) { fRecorder.offer(frame); },
        [this](const KVError& error) {
            const bool isLost = error.cause() == KVError::Cause::ConnectionLost;
            fRecorder.offer(StreamEnd{isLost ? StreamEnd::Kind::Lost : StreamEnd::Kind::CameraEnded,
                                      error.toString()});
        });
    Q_EMIT recordingChanged();
}

void CaptureControls::xOnRecordingEnded() {
    const RecorderStatus status = fRecorder.status();
    stopRecording();
    Q_EMIT told(endText(status));
    Q_EMIT recordingChanged();
}

void CaptureControls::xChooseFolder() {
    const QString chosen = QFileDialog::getExistingDirectory(
        fViewer, obvista::dialogTitle(tr("Folder for pictures and recordings"), fViewer), folder());
    if (!chosen.isEmpty()) {
        QSettings().setValue(QLatin1String(a_folderKey), chosen);
    }
}

void CaptureControls::xAddFormat(const QString& text, const QString& suffix) {
    QAction* action = fFormats->addAction(text);
    action->setObjectName(suffix + QStringLiteral("FormatAction"));
    action->setCheckable(true);
    action->setActionGroup(fFormatGroup);
    action->setChecked(format() == suffix);
    connect(action, &QAction::triggered, this,
            [suffix] { QSettings().setValue(QLatin1String(a_formatKey), suffix); });
}

/** Returns a name with the time; a number is appended if it is taken. */
QString CaptureControls::xNewFile(const QString& suffix) {
    const QDir in(folder());
    in.mkpath(QStringLiteral("."));
    const qint64 time =
        suffix == QLatin1String("png") ? fPicture.fFrame.fTime : base::microsecondsNow();
    const QString name = suggestedFileName(fOrigin, time, suffix);
    QString file = in.filePath(name);
    for (int number = 2; QFileInfo::exists(file) || fSnapshots.contains(file); ++number) {
        file = in.filePath(QStringLiteral("%1-%2.%3")
                               .arg(name.chopped(suffix.size() + 1))
                               .arg(number)
                               .arg(suffix));
    }
    return file;
}

}  // namespace cameraviewer
