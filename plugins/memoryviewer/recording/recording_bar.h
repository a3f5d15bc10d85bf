#ifndef OBVISTA_MEMORYVIEWER_RECORDING_BAR_H
#define OBVISTA_MEMORYVIEWER_RECORDING_BAR_H

#include <QString>
#include <QTimer>
#include <QWidget>

class QLabel;
class QToolButton;

namespace memoryviewer {

class ChangeRecorder;

/** Starts and stops a recording, and shows its progress: file, rows, size, time, and errors. */
class RecordingBar : public QWidget {
    Q_OBJECT

  public:
    /** @param recorder must outlive the bar or be its child */
    explicit RecordingBar(ChangeRecorder* recorder, QWidget* parent = nullptr);

    /** Sets the robot's name for the proposed file name. May come from the robot. */
    void setRobotName(const QString& name) { fRobotName = name; }

    /** Starts recording to a file, without asking. */
    void start(const QString& fileName);

  public Q_SLOTS:
    /** Stops the running recording, or asks for a file and starts one. */
    void toggle();

  Q_SIGNALS:
    /** Emitted when a recording starts or ends, and so the needed values change. */
    void recordingChanged(bool isRecording);

  private:
    void xAskForFile();
    void xOnFinished(const QString& error);
    void xUpdate();
    QString xProgressText() const;

    ChangeRecorder* fRecorder;
    QString fRobotName;
    QString fError;
    bool fHasRecorded = false;
    QToolButton* fButton;
    QLabel* fText;
    QTimer fTimer;
};

}  // namespace memoryviewer

#endif
