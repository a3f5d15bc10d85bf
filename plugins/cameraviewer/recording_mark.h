#ifndef OBVISTA_CAMERAVIEWER_RECORDING_MARK_H
#define OBVISTA_CAMERAVIEWER_RECORDING_MARK_H

#include <QLabel>

#include <cstdint>

namespace cameraviewer {

/** A red dot with the duration and the size of the running recording. */
class RecordingMark : public QLabel {
    Q_OBJECT

  public:
    explicit RecordingMark(QWidget* parent);

    /** @param seconds duration so far; days are counted as hours */
    void showProgress(double seconds, std::int64_t bytes);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;
};

}  // namespace cameraviewer

#endif
