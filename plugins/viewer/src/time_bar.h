#ifndef OBVISTA_VIEWER_TIME_BAR_H
#define OBVISTA_VIEWER_TIME_BAR_H

#include <obvista/viewer/key_help.h>
#include <obvista/viewer/replay_state.h>
#include <robaxi/kv_value.h>

#include <QWidget>

#include <string>

class QCheckBox;
class QComboBox;
class QLabel;
class QSlider;

namespace obvista {

class SymbolButton;

/**
 * The controls of a replay: a slider over the recording, play and pause, steps, speed and loop. It
 * shows what the robot says, so several bars of the same replay move together.
 */
class TimeBar : public QWidget {
    Q_OBJECT

  public:
    explicit TimeBar(QWidget* parent);

    void showState(const ReplayState& state);
    /** Sets the camera of whose frames the steps are; of all changes if it is empty. */
    void setCamera(const std::string& camera) { fCamera = camera; }

    static KeyGroup keys();

    bool eventFilter(QObject* watched, QEvent* event) override;

  Q_SIGNALS:
    /** The user wants a method of "KVReplay" to be called. */
    void wanted(const std::string& method, const KVValue::List& arguments);

  private:
    void xTogglePlaying();
    void xStep(int count);
    void xSeek(int place);
    void xShowPosition();
    void xShowSpeed(double speed);
    std::int64_t xTimeAt(int place) const;
    QString xTimeText(std::int64_t time) const;

    ReplayState fState;
    std::string fCamera;
    QSlider* fSlider;
    SymbolButton* fBack;
    SymbolButton* fPlay;
    SymbolButton* fForward;
    QLabel* fPosition;
    QComboBox* fSpeed;
    QCheckBox* fLoop;
    QLabel* fFault;
};

}  // namespace obvista

#endif
