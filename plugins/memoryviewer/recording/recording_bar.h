#ifndef OBVISTA_MEMORYVIEWER_RECORDING_BAR_H
#define OBVISTA_MEMORYVIEWER_RECORDING_BAR_H

#include <QString>
#include <QTimer>
#include <QWidget>

class QLabel;
class QToolButton;

namespace memoryviewer {

class CsvRecorder;

/** Starts and stops a recording, and says how it goes: file, rows, size, time, and what went wrong.
 */
class RecordingBar : public QWidget {
    Q_OBJECT

  public:
    /** @param recorder must outlive the bar or be its child */
    explicit RecordingBar(CsvRecorder* recorder, QWidget* parent = nullptr);

    /** Name of the robot, from which the proposed file name is made. May come from the robot. */
    void setRobotName(const QString& name) { fRobotName = name; }

    /** Starts a recording into a file, without asking. */
    void start(const QString& fileName);

  public Q_SLOTS:
    /** Stops the recording that runs, or asks for a file and starts one. */
    void toggle();

  Q_SIGNALS:
    /** Whether what is recorded is needed from the robot now. */
    void recordingChanged(bool isRecording);

  private:
    void xAskForFile();
    void xOnFinished(const QString& error);
    void xUpdate();
    QString xProgressText() const;

    CsvRecorder* fRecorder;
    QString fRobotName;
    QString fError;
    bool fHasRecorded = false;
    QToolButton* fButton;
    QLabel* fText;
    QTimer fTimer;
};

}  // namespace memoryviewer

#endif
