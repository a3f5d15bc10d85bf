// Measures the cost of a frame of the plots while one million points are panned and zoomed, the
// cost of adding a point, and the processor share of ten curves at 50 Hz.
//
//   tests/support/run_isolated --display xvfb -- build/release/bench/bench_plots [SECONDS]

#include "bench/figures.h"
#include "plots/plot_canvas.h"
#include "plots/plot_history.h"
#include "plots/plot_panel.h"
#include "plots/plot_view.h"
#include "plots/thinning.h"
#include "plots/time_axis.h"

#include <QApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QPainter>
#include <QScreen>
#include <QTimer>
#include <qwt_plot.h>
#include <qwt_plot_canvas.h>
#include <qwt_plot_curve.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <random>
#include <unistd.h>
#include <vector>

using namespace memoryviewer;

namespace {

constexpr int a_points = 1000000;
constexpr int a_curves = 10;
constexpr int a_frames = 60;
constexpr double a_microsecondsPerSecond = 1e6;
constexpr qint64 a_interval = 20000;
constexpr QSize a_size(1400, 800);

struct Times {
    double fMedian = 0;
    double fWorst = 0;
};

Times summary(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    return {times[times.size() / 2], times.back()};
}

/** Returns the milliseconds of each call. */
Times measure(int count, const std::function<void(int)>& call) {
    std::vector<double> times;
    for (int i = 0; i < count; ++i) {
        QElapsedTimer timer;
        timer.start();
        call(i);
        times.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }
    return summary(times);
}

void print(const char* what, const Times& times) {
    std::printf("%-58s %8.2f  %8.2f\n", what, times.fMedian, times.fWorst);
}

/** A wave with noise, the most expensive kind of curve. */
class Signal {
  public:
    double operator()(int i) { return std::sin(i / 3000.0) + 0.2 * fNoise(fRandom); }

  private:
    std::mt19937 fRandom{1};
    std::normal_distribution<double> fNoise{0, 1};
};

qint64 timeOf(int i) {
    return static_cast<qint64>(i) * a_interval;
}

/** @return nanoseconds for each point */
double fill(PlotPanel& panel, int curves) {
    std::vector<int> keys;
    for (int curve = 0; curve < curves; ++curve) {
        const QString name = QStringLiteral("Drive%1/Position").arg(curve);
        panel.addCurve(name, QStringLiteral("rad"));
        keys.push_back(panel.keyHandle(name));
    }
    Signal signal;
    std::vector<std::vector<PlotSample>> batches;
    for (int i = 0; i < a_points / curves; ++i) {
        batches.emplace_back();
        for (const int key : keys) {
            batches.back().push_back({key, timeOf(i), signal(i) + key});
        }
    }
    QElapsedTimer timer;
    timer.start();
    for (const auto& batch : batches) {
        panel.append(batch);
    }
    return static_cast<double>(timer.nsecsElapsed()) / a_points;
}

/** Performs a complete pan or zoom, from the time axis to the pixels in the window. */
void paint(PlotPanel& panel, PlotView& view) {
    view.refresh();
    panel.repaint();
    view.plotCanvas()->repaint();
}

void measureFrames(int curves) {
    PlotPanel panel;
    panel.resize(a_size);
    panel.show();
    const double append = fill(panel, curves);
    TimeAxis& time = panel.timeAxis();
    time.setFollowing(false);
    auto* view = panel.findChild<PlotView*>();
    const auto show = [&](double left, double right) {
        time.show(left, right);
        paint(panel, *view);
    };
    const double end = static_cast<double>(timeOf(a_points / curves));
    show(0, end);
    QCoreApplication::processEvents();

    std::printf("\n%d curve%s, %d points together, canvas of %d x %d, ms: median, worst of %d\n",
                curves, curves == 1 ? "" : "s", a_points, view->plotCanvas()->width(),
                view->plotCanvas()->height(), a_frames);
    print("pan by 1/60, all points in view", measure(a_frames, [&](int i) {
              show(end * i / a_frames, end * (1 + double(i) / a_frames));
          }));
    print("zoom from all points to 100 of them", measure(a_frames, [&](int i) {
              const double span = end * std::pow(100.0 * curves / a_points, double(i) / a_frames);
              show(end / 2 - span / 2, end / 2 + span / 2);
          }));
    print("pan by 1/60 of the width, a tenth of the points in view", measure(a_frames, [&](int i) {
              const double left = end / 2 + end / 10 * i / a_frames;
              show(left, left + end / 10);
          }));
    show(0, end);
    print("of that, thinning out alone (all points in view)", measure(a_frames, [&](int) {
              DrawnPart thinning;
              thinning.fLeft = 0;
              thinning.fRight = end;
              thinning.fColumns = view->plotCanvas()->width();
              for (int curve = 0; curve < curves; ++curve) {
                  const int key = panel.keyHandle(QStringLiteral("Drive%1/Position").arg(curve));
                  thinOut(panel.history().curve(key), thinning);
              }
          }));
    print("floor: the same canvas painted again from its buffer",
          measure(a_frames, [&](int) { view->plotCanvas()->repaint(); }));
    std::printf("%-58s %8.1f ns a point\n", "append", append);
}

/** The peer: the plot library alone with as many points. */
void measurePlainCurves(int curves) {
    QwtPlot plot;
    plot.resize(a_size);
    plot.show();
    Signal signal;
    for (int curve = 0; curve < curves; ++curve) {
        QVector<QPointF> points;
        for (int i = 0; i < a_points / curves; ++i) {
            points.append({static_cast<double>(timeOf(i)), signal(i) + curve});
        }
        auto* item = new QwtPlotCurve;
        item->setSamples(points);
        item->attach(&plot);
    }
    const double end = static_cast<double>(timeOf(a_points / curves));
    QCoreApplication::processEvents();
    constexpr int frames = 5;
    print("peer: Qwt's own curves, pan, all points in view", measure(frames, [&](int i) {
              plot.setAxisScale(QwtPlot::xBottom, end * i / a_frames,
                                end * (1 + double(i) / a_frames));
              plot.replot();
              plot.canvas()->repaint();
          }));
}

double shareWhile(std::chrono::seconds duration) {
    const double before = bench::processorSeconds(getpid());
    QTimer::singleShot(duration, qApp, &QCoreApplication::quit);
    QApplication::exec();
    return 100 * (bench::processorSeconds(getpid()) - before) /
           static_cast<double>(duration.count());
}

void measureFollowing(std::chrono::seconds duration) {
    PlotPanel panel;
    panel.resize(a_size);
    panel.show();
    std::vector<int> keys;
    for (int curve = 0; curve < a_curves; ++curve) {
        const QString name = QStringLiteral("Drive%1/Position").arg(curve);
        panel.addCurve(name, QStringLiteral("rad"));
        keys.push_back(panel.keyHandle(name));
    }
    Signal signal;
    int step = 0;
    std::vector<PlotSample> samples;
    const auto appendStep = [&] {
        const qint64 now = QDateTime::currentMSecsSinceEpoch() * 1000;
        samples.clear();
        for (const int key : keys) {
            samples.push_back({key, now, signal(step) + key});
        }
        ++step;
        panel.append(samples);
    };
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, appendStep);
    timer.start(static_cast<int>(a_interval / 1000));
    std::printf("\n%d curves at 50 Hz, %lld s, share of one core\n", a_curves,
                static_cast<long long>(duration.count()));
    std::printf("%-58s %7.1f %%\n", "following in a visible window", shareWhile(duration));
    panel.hide();
    std::printf("%-58s %7.1f %%\n", "hidden", shareWhile(duration));
    QObject::disconnect(&timer, nullptr, nullptr, nullptr);
    std::printf("%-58s %7.1f %%\n", "floor: the timer alone", shareWhile(duration));
}

}  // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    const std::chrono::seconds duration(argc > 1 ? std::max(1, std::atoi(argv[1])) : 10);
    for (const int curves : {1, a_curves}) {
        measureFrames(curves);
        measurePlainCurves(curves);
    }
    measureFollowing(duration);
    return 0;
}
