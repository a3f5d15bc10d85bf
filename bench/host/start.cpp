// Measures the time from exec to the launcher's picture on the screen, for Obvista and for a bare
// QMainWindow with the same picture, without and with a menu bar, in turn on one X server. For a
// menu bar Qt loads fonts and connects to D-Bus. Then the same on a cold cache of files, which only
// root can empty completely; the target for Obvista is 600 ms.
//
//   bench_host_start OBVISTA BARE_WINDOW PICTURE

#include "file_cache.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QProcess>
#include <QScreen>
#include <QSet>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

constexpr int a_runs = 21;
constexpr int a_coldRuns = 7;
constexpr double a_coldTarget = 600;  // ms
constexpr qint64 a_limit = 30000;     // ms

/** The middle of the screen, where a window manager places a single window, and the picture. */
class Middle {
  public:
    Middle(QScreen& screen, const QImage& picture) : fScreen(screen) {
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                fColours.insert(picture.pixel(x, y));
            }
        }
        if (showsPicture()) {
            qFatal("the empty screen cannot be told from the picture");
        }
    }

    /** Returns true if a part of the picture has been painted there. */
    bool showsPicture() const {
        const QPoint middle = fScreen.geometry().center();
        const QImage pixel = fScreen.grabWindow(0, middle.x(), middle.y(), 1, 1).toImage();
        return fColours.contains(pixel.pixel(0, 0));
    }

    void waitForPicture(bool shown) const {
        QElapsedTimer clock;
        clock.start();
        while (showsPicture() != shown) {
            if (clock.hasExpired(a_limit)) {
                qFatal("the picture did not %s", shown ? "appear" : "go");
            }
            QThread::usleep(200);
        }
    }

  private:
    QScreen& fScreen;
    QSet<QRgb> fColours;
};

/** Milliseconds from exec to the picture. @param cache gets the program's files */
double startOnce(const Middle& middle, const QStringList& command,
                 bench::FileCache* cache = nullptr) {
    QProcess process;
    QElapsedTimer clock;
    clock.start();
    process.start(command.first(), command.mid(1));
    middle.waitForPicture(true);
    const double elapsed = static_cast<double>(clock.nsecsElapsed()) / 1e6;
    if (cache != nullptr) {
        cache->addFilesOf(static_cast<pid_t>(process.processId()));
    }
    process.kill();
    process.waitForFinished();
    middle.waitForPicture(false);
    return elapsed;
}

struct Figures {
    double fMedian;
    double fLeast;
    double fMost;
};

Figures figures(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    return {times[times.size() / 2], times.front(), times.back()};
}

void print(const char* name, const Figures& figures) {
    std::printf("%-22s %7.1f ms  (%.1f to %.1f)\n", name, figures.fMedian, figures.fLeast,
                figures.fMost);
}

/** The commands of the three programs. */
struct Programs {
    QStringList fObvista;
    QStringList fBareWindow;
    QStringList fWindowWithMenu;
};

/**
 * Starts the programs in turn and prints the figures.
 *
 * @param prepare called before each start
 * @return the median of Obvista
 */
template <class Prepare>
double compare(int runs, const Middle& middle, const Programs& programs, Prepare prepare) {
    std::vector<double> obvistaTimes;
    std::vector<double> bareTimes;
    std::vector<double> menuTimes;
    const auto startInto = [&](std::vector<double>& times, const QStringList& command) {
        prepare();
        times.push_back(startOnce(middle, command));
    };
    for (int i = 0; i < runs; ++i) {
        startInto(obvistaTimes, programs.fObvista);
        startInto(bareTimes, programs.fBareWindow);
        startInto(menuTimes, programs.fWindowWithMenu);
    }
    const Figures launcher = figures(obvistaTimes);
    const Figures floor = figures(bareTimes);
    const Figures menuFloor = figures(menuTimes);
    print("Obvista's launcher", launcher);
    print("bare QMainWindow", floor);
    print("with a menu bar", menuFloor);
    std::printf("%-22s %7.2f\n", "ratio", launcher.fMedian / floor.fMedian);
    std::printf("%-22s %7.2f\n", "with a menu bar", launcher.fMedian / menuFloor.fMedian);
    return launcher.fMedian;
}

}  // namespace

int main(int argc, char** argv) {
    const QGuiApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 4) {
        std::fprintf(stderr, "usage: %s OBVISTA BARE_WINDOW PICTURE\n", argv[0]);
        return 2;
    }
    const QStringList obvista{arguments[1]};
    const QStringList bareWindow{arguments[2], arguments[3]};
    const QStringList windowWithMenu = bareWindow + QStringList{"Load Plugin", "&Help"};

    const Middle middle(*QGuiApplication::primaryScreen(), QImage(arguments[3]));
    bench::FileCache cache;
    cache.addFile(arguments[3].toStdString());
    startOnce(middle, obvista, &cache);  // fills the file cache for both
    startOnce(middle, bareWindow, &cache);

    std::printf("start to picture on the screen, median (least to most) of %d runs\n", a_runs);
    compare(a_runs, middle, {obvista, bareWindow, windowWithMenu}, [] {});
    std::printf("\non a cold cache, %s, of %d runs; target %.0f ms\n", cache.method().c_str(),
                a_coldRuns, a_coldTarget);
    const double cold = compare(a_coldRuns, middle, {obvista, bareWindow, windowWithMenu},
                                [&cache] { cache.empty(); });
    std::printf("%s\n", cold <= a_coldTarget ? "within the target" : "over the target");
    return 0;
}
