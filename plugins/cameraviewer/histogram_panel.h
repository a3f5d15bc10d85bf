#ifndef OBVISTA_CAMERAVIEWER_HISTOGRAM_PANEL_H
#define OBVISTA_CAMERAVIEWER_HISTOGRAM_PANEL_H

#include "picture/histogram.h"

#include <QWidget>

#include <vector>

class QCheckBox;
class QLabel;

namespace cameraviewer {

/**
 * The histograms of the picture's channels with ranges and means, and a check box that stretches a
 * grey picture.
 */
class HistogramPanel : public QWidget {
    Q_OBJECT

  public:
    explicit HistogramPanel(QWidget* parent);
    ~HistogramPanel() override;

    /** @param histograms see histogramsOf(); empty while there is no picture */
    void showHistograms(const std::vector<Histogram>& histograms);

    /** Returns true if the darkest value is to be shown as black and the brightest as white. */
    bool isStretching() const;

    void setStretching(bool isStretching);

  Q_SIGNALS:
    void stretchingChanged();

  private:
    class Bars;

    Bars* fBars;
    QLabel* fText;
    QCheckBox* fStretch;
};

}  // namespace cameraviewer

#endif
