#include "histogram_panel.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <labels.h>

namespace cameraviewer {

namespace {

constexpr int a_heightInLines = 5;

}  // namespace

class HistogramPanel::Bars : public QWidget {
  public:
    explicit Bars(QWidget* parent) : QWidget(parent) {
        setObjectName(QStringLiteral("histogramBars"));
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    }

    void setHistogram(const std::optional<Histogram>& histogram) {
        if (histogram || fHistogram) {
            fHistogram = histogram;
            update();
        }
    }

    QSize sizeHint() const override {
        return {static_cast<int>(Histogram().fBins.size()),
                a_heightInLines * fontMetrics().height()};
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(rect(), palette().base());
        if (!fHistogram) {
            return;
        }
        // By the square root: one value that fills half of the picture leaves the others visible.
        const auto& bins = fHistogram->fBins;
        const double highest = std::sqrt(*std::max_element(bins.begin(), bins.end()));
        const double width = double(this->width()) / static_cast<double>(bins.size());
        for (std::size_t value = 0; value < bins.size(); ++value) {
            const double barHeight = std::sqrt(bins[value]) / std::max(highest, 1.0) * height();
            painter.fillRect(
                QRectF(static_cast<double>(value) * width, height() - barHeight, width, barHeight),
                palette().text());
        }
    }

  private:
    std::optional<Histogram> fHistogram;
};

HistogramPanel::HistogramPanel(QWidget* parent)
    : QWidget(parent),
      fBars(new Bars(this)),
      fText(viewer::makeLabel("histogramText", this)),
      fStretch(new QCheckBox(tr("S&tretch"), this)) {
    fBars->setAccessibleName(tr("Histogram of the grey values, from 0 to 255"));
    fStretch->setObjectName(QStringLiteral("stretchBox"));
    fStretch->setToolTip(
        QStringLiteral("<p>%1</p>")
            .arg(tr("Show the darkest value black and the brightest white. Values, snapshots and "
                    "recordings stay as they are.")));
    auto* row = new QHBoxLayout(this);
    row->addWidget(fBars, 1);
    row->addWidget(fText);
    row->addWidget(fStretch);
    connect(fStretch, &QCheckBox::toggled, this, &HistogramPanel::stretchingChanged);
    showHistogram(std::nullopt);
}

HistogramPanel::~HistogramPanel() = default;

void HistogramPanel::showHistogram(const std::optional<Histogram>& histogram) {
    fBars->setHistogram(histogram);
    fStretch->setEnabled(histogram.has_value());
    fText->setText(histogram ? tr("Range %1 to %2\nMean %3")
                                   .arg(histogram->fMinimum)
                                   .arg(histogram->fMaximum)
                                   .arg(QString::number(histogram->fMean, 'f', 1))
                             : tr("Only grey pictures\nhave a histogram."));
}

bool HistogramPanel::isStretching() const {
    return fStretch->isChecked();
}

}  // namespace cameraviewer
