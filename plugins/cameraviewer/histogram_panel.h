#ifndef OBVISTA_CAMERAVIEWER_HISTOGRAM_PANEL_H
#define OBVISTA_CAMERAVIEWER_HISTOGRAM_PANEL_H

#include <QWidget>

#include <histogram.h>
#include <optional>

class QCheckBox;
class QLabel;

namespace cameraviewer {

/** How often each value of grey is in the picture, its range, and whether the picture is shown in
 *  that range. */
class HistogramPanel : public QWidget {
    Q_OBJECT

  public:
    explicit HistogramPanel(QWidget* parent);
    ~HistogramPanel() override;

    /** @param histogram nothing for a picture that is not grey */
    void showHistogram(const std::optional<Histogram>& histogram);

    /** Whether the user wants the darkest value black and the brightest white. */
    bool isStretching() const;

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
