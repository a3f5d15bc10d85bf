#include "recording/recording_bar.h"

#include "recording/change_recorder.h"

#include <obvista/viewer/file_question.h>
#include <obvista/viewer/labels.h>
#include <obvista/viewer/plain_text.h>
#include <obvista/viewer/value_text.h>

#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QStyle>
#include <QToolButton>

namespace memoryviewer {

namespace {

constexpr int a_updateTime = 250;

}  // namespace

RecordingBar::RecordingBar(ChangeRecorder* recorder, QWidget* parent)
    : QWidget(parent),
      fRecorder(recorder),
      fButton(new QToolButton(this)),
      fText(obvista::makeStatusLine("recordingStatus", this)) {
    setObjectName(QStringLiteral("recordingBar"));
    fButton->setObjectName(QStringLiteral("recordingButton"));
    fButton->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    fButton->setFocusPolicy(Qt::StrongFocus);
    auto* row = new QHBoxLayout(this);
    const int space = fontMetrics().height() / 4;
    row->setContentsMargins(space, 0, space, 0);
    row->addWidget(fButton);
    row->addWidget(fText, 1);

    connect(fButton, &QToolButton::clicked, this, &RecordingBar::toggle);
    connect(recorder, &ChangeRecorder::started, this, &RecordingBar::xUpdate);
    connect(recorder, &ChangeRecorder::finished, this, &RecordingBar::xOnFinished);
    connect(&fTimer, &QTimer::timeout, this, &RecordingBar::xUpdate);
    fTimer.setInterval(a_updateTime);
    xUpdate();
}

void RecordingBar::start(const QString& fileName) {
    if (fRecorder->isRecording()) {
        return;
    }
    fError.clear();
    fHasRecorded = true;
    fRecorder->start(fileName);
    fTimer.start();
    xUpdate();
    Q_EMIT recordingChanged(true);
}

void RecordingBar::toggle() {
    if (fRecorder->isRecording()) {
        fRecorder->stop();
    } else {
        xAskForFile();
    }
}

void RecordingBar::xAskForFile() {
    const obvista::FileQuestion question{
        tr("Record"), tr("Recordings (*.mcap);;Comma-separated values (*.csv)"),
        QStringLiteral("mcap"), fRobotName.isEmpty() ? QStringLiteral("robot") : fRobotName};
    obvista::askForFile(this, question, [this](const QString& fileName) { start(fileName); });
}

void RecordingBar::xOnFinished(const QString& error) {
    fError = error;
    fTimer.stop();
    xUpdate();
    Q_EMIT recordingChanged(false);
}

void RecordingBar::xUpdate() {
    const bool isRecording = fRecorder->isRecording();
    fButton->setText(isRecording ? tr("Stop &recording") : tr("&Record\u2026"));
    fButton->setIcon(
        style()->standardIcon(isRecording ? QStyle::SP_MediaStop : QStyle::SP_DialogSaveButton));
    fButton->setAccessibleName(isRecording ? tr("Stop recording") : tr("Record to a file"));
    obvista::setStatus(*fText, fHasRecorded ? xProgressText() : tr("Not recording."));
}

QString RecordingBar::xProgressText() const {
    const RecordingProgress progress = fRecorder->progress();
    const QString file = QFileInfo(fRecorder->fileName()).fileName();
    QStringList parts{obvista::plainText(file.toStdString()),
                      tr("%1 values", nullptr, obvista::pluralOf(progress.fChanges))
                          .arg(obvista::countText(progress.fChanges)),
                      obvista::sizeText(progress.fBytes),
                      obvista::clockText(static_cast<qint64>(progress.fSeconds))};
    if (progress.fLost > 0) {
        parts += tr("%1 changes lost, since the disk is too slow", nullptr,
                    obvista::pluralOf(progress.fLost))
                     .arg(obvista::countText(progress.fLost));
    }
    if (!fError.isEmpty()) {
        parts.prepend(fError + QLatin1Char(' ') +
                      tr("The file contains the values up to that point."));
    } else if (!fRecorder->isRecording()) {
        //: before the size and duration of a recording that has ended
        parts.prepend(tr("Recorded"));
    }
    return parts.join(obvista::statusSeparator());
}

}  // namespace memoryviewer
