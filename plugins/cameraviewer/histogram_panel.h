#ifndef OBVISTA_CAMERAVIEWER_HISTOGRAM_PANEL_H
#define OBVISTA_CAMERAVIEWER_HISTOGRAM_PANEL_H

#include <QWidget>

#include <histogram.h>
#include <vector>

class QCheckBox;
class QLabel;

namespace cameraviewer {

/** The histograms of the picture's channels with their ranges and means, and the choice of showing
 * a grey picture in its range. */
class HistogramPanel : public QWidget {
    Q_OBJECT

  public:
    explicit HistogramPanel(QWidget* parent);
    ~HistogramPanel() override;

    /** @param histograms see histogramsOf(); none while there is no picture */
    void showHistograms(const std::vector<Histogram>& histograms);

    /** Returns true if the user wants the darkest value black and the brightest white. */
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
