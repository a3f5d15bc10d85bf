#include "histogram_panel.h"

#include <obvista/viewer/labels.h>

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <array>
#include <cmath>

namespace cameraviewer {

namespace {

constexpr int a_heightInLines = 5;
constexpr double a_channelOpacity = 0.35;
constexpr int a_darkest = 128;

/** Returns a red, green or blue that is visible on the palette's base. */
QColor channelColour(std::size_t channel, const QPalette& palette) {
    static const std::array<QColor, 3> onLight{QColor(200, 0, 0), QColor(0, 130, 0),
                                               QColor(0, 0, 220)};
    static const std::array<QColor, 3> onDark{QColor(255, 100, 100), QColor(90, 220, 90),
                                              QColor(120, 160, 255)};
    const bool isDark = palette.color(QPalette::Base).lightness() < a_darkest;
    return (isDark ? onDark : onLight).at(channel);
}

QString meanText(const Histogram& histogram) {
    return QString::number(histogram.fMean, 'f', 1);
}

QString textOf(const std::vector<Histogram>& histograms) {
    if (histograms.empty()) {
        return HistogramPanel::tr("No picture");
    }
    if (histograms.size() == 1) {
        //: darkest, brightest and mean value of a picture without colours
        return HistogramPanel::tr("Range %1 to %2\nMean %3")
            .arg(histograms.front().fMinimum)
            .arg(histograms.front().fMaximum)
            .arg(meanText(histograms.front()));
    }
    const std::array<QString, 3> names{HistogramPanel::tr("Red"), HistogramPanel::tr("Green"),
                                       HistogramPanel::tr("Blue")};
    QStringList lines;
    for (std::size_t channel = 0; channel < histograms.size(); ++channel) {
        //: %1 is a colour; its smallest, largest and mean value
        lines += HistogramPanel::tr("%1 %2 to %3, mean %4")
                     .arg(names.at(channel))
                     .arg(histograms[channel].fMinimum)
                     .arg(histograms[channel].fMaximum)
                     .arg(meanText(histograms[channel]));
    }
    return lines.join(QLatin1Char('\n'));
}

}  // namespace

class HistogramPanel::Bars : public QWidget {
  public:
    explicit Bars(QWidget* parent) : QWidget(parent) {
        setObjectName(QStringLiteral("histogramBars"));
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    }

    void setHistograms(const std::vector<Histogram>& histograms) {
        if (!histograms.empty() || !fHistograms.empty()) {
            fHistograms = histograms;
            update();
        }
    }

    QSize sizeHint() const override {
        return {static_cast<int>(Histogram().fBins.size()),
                a_heightInLines * fontMetrics().height()};
    }

    /** Less than one pixel for a value is better than text that is cut. */
    QSize minimumSizeHint() const override { return {sizeHint().width() / 3, sizeHint().height()}; }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(rect(), palette().base());
        // Otherwise a value narrower than a pixel could disappear between two pixels.
        painter.setRenderHint(QPainter::Antialiasing);
        if (fHistograms.size() == 1) {
            painter.fillPath(xShape(fHistograms.front(), xHighest()), palette().text());
            return;
        }
        for (std::size_t channel = 0; channel < fHistograms.size(); ++channel) {
            const QPainterPath shape = xShape(fHistograms[channel], xHighest());
            QColor colour = channelColour(channel, palette());
            painter.setPen(colour);
            colour.setAlphaF(a_channelOpacity);
            painter.fillPath(shape, colour);
            painter.drawPath(shape);
        }
    }

  private:
    /** The maximum of all channels, which share one scale for comparison. */
    std::uint32_t xHighest() const {
        std::uint32_t highest = 1;
        for (const Histogram& histogram : fHistograms) {
            highest = std::max(highest,
                               *std::max_element(histogram.fBins.begin(), histogram.fBins.end()));
        }
        return highest;
    }

    /** Uses the square root: a value that fills half of the picture leaves the others visible. */
    QPainterPath xShape(const Histogram& histogram, std::uint32_t highest) const {
        const auto& bins = histogram.fBins;
        const double width = double(this->width()) / static_cast<double>(bins.size());
        QPainterPath shape(QPointF(0, height()));
        for (std::size_t value = 0; value < bins.size(); ++value) {
            const double top = height() * (1 - std::sqrt(double(bins[value]) / highest));
            shape.lineTo(static_cast<double>(value) * width, top);
            shape.lineTo(static_cast<double>(value + 1) * width, top);
        }
        shape.lineTo(width * static_cast<double>(bins.size()), height());
        shape.closeSubpath();
        return shape;
    }

    std::vector<Histogram> fHistograms;
};

HistogramPanel::HistogramPanel(QWidget* parent)
    : QWidget(parent),
      fBars(new Bars(this)),
      fText(obvista::makeLabel("histogramText", this)),
      fStretch(new QCheckBox(tr("S&tretch"), this)) {
    fBars->setAccessibleName(tr("Histogram, from 0 to 255"));
    fStretch->setObjectName(QStringLiteral("stretchBox"));
    obvista::explain(
        *fStretch, tr("Show the darkest grey black and the brightest white. Values, snapshots and "
                      "recordings do not change."));
    auto* row = new QHBoxLayout(this);
    row->addWidget(fBars, 1);
    row->addWidget(fText);
    row->addWidget(fStretch);
    connect(fStretch, &QCheckBox::toggled, this, &HistogramPanel::stretchingChanged);
    showHistograms({});
}

HistogramPanel::~HistogramPanel() = default;

void HistogramPanel::showHistograms(const std::vector<Histogram>& histograms) {
    fBars->setHistograms(histograms);
    fStretch->setVisible(histograms.size() == 1);  // three channels need the room for their figures
    fText->setText(textOf(histograms));
}

bool HistogramPanel::isStretching() const {
    return fStretch->isChecked();
}

void HistogramPanel::setStretching(bool isStretching) {
    fStretch->setChecked(isStretching);
}

}  // namespace cameraviewer
