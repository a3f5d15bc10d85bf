// Measures the camera viewer with a robot behind slow links: pictures of 640x480 at 30 frames a
// second in each format, on links with a delay of 20 ms.
//
//   cameraviewer_network_bench [SECONDS [RATE...]]
//
// SECONDS is the duration of each measurement (default 8), RATEs are those of lab/ctl link (default
// 50mbit 8mbit 4mbit 1mbit). It needs a private network and an X server:
// tests/support/run_isolated --display xvfb -- lab/run -- PROGRAM.
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QRegularExpression>
#include <QSettings>
#include <QTest>

#include <algorithm>
#include <camera_driver.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <lab_robot.h>
#include <shown_ages.h>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace {

using namespace obvista_test;

constexpr char a_host[] = "robot";
constexpr char a_address[] = "10.77.61.1";
constexpr int a_port = 9559;
constexpr int a_warmUp = 4000;     // milliseconds
constexpr int a_patience = 30000;  // milliseconds

struct Way {
    const char* fName;
    const char* fFormat;     // as in the viewer
    const char* fBandwidth;  // as in the viewer; null if the format has none
};
constexpr Way a_ways[] = {{"raw", "RGB", nullptr},
                          {"JPEG", "JPEG", nullptr},
                          {"H.264 at 2 Mbit/s", "H.264", "2 Mbit/s"},
                          {"H.264, automatic", "H.264", "Automatic"}};

void require(bool isDone, const char* what) {
    if (!isDone) {
        throw std::runtime_error(what);
    }
}

void waitAndChoose(QWidget* viewer, const char* box, const char* text) {
    const bool isChosen =
        QTest::qWaitFor([&] { return choose(viewer, box, QString::fromUtf8(text)); }, a_patience);
    require(isChosen, text);
}

double processorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    constexpr double micro = 1e-6;
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           micro * static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

/** Returns the viewer's figure of the last second. */
double bytesASecond(QWidget* viewer) {
    actionOf(viewer, "copyFiguresAction")->trigger();
    const QRegularExpression bytes(QStringLiteral("Bytes: (\\d+) a second"));
    return bytes.match(QApplication::clipboard()->text()).captured(1).toDouble();
}

void measure(QWidget* viewer, const char* rate, const Way& way, int seconds) {
    waitAndChoose(viewer, "formatBox", way.fFormat);
    if (way.fBandwidth != nullptr) {
        waitAndChoose(viewer, "bitRateBox", way.fBandwidth);
    }
    ShownAges ages(viewer, std::chrono::seconds(seconds), 1);
    QTest::qWait(a_warmUp);
    ages.clear();
    const double before = processorSeconds();
    double bytes = 0;
    constexpr int second = 1000;
    for (int i = 0; i < seconds; ++i) {
        QTest::qWait(second);
        bytes += bytesASecond(viewer);
    }
    if (ages.count() == 0) {
        std::printf("%-7s %-18s no frame shown\n", rate, way.fName);
        return;
    }
    std::printf(
        "%-7s %-18s %5.1f shown a second   %6.0f ms median %6.0f ms 95th percentile"
        "   %6.0f kB/s   %5.1f %% of a core\n",
        rate, way.fName, static_cast<double>(ages.count()) / seconds, ages.ofPart(0.5),
        ages.ofPart(0.95), bytes / seconds / 1e3, 100 * (processorSeconds() - before) / seconds);
    std::fflush(stdout);
}

void run(int seconds, const std::vector<std::string>& rates) {
    QSettings().clear();
    lab::addRobot(a_host, a_address, a_port, {});
    CameraDriver driver;
    QWidget* const viewer = driver.show(a_port, a_address);
    waitAndChoose(viewer, "sizeBox", "640 \u00D7 480");
    waitAndChoose(viewer, "rateBox", "30 a second");
    for (const std::string& rate : rates) {
        for (const Way& way : a_ways) {
            lab::control({"link", a_host, "--rate", rate, "--delay", "20ms"});
            measure(viewer, rate.c_str(), way, seconds);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("obvista-bench"));
    std::vector<std::string> rates(argv + std::min(argc, 2), argv + argc);
    if (rates.empty()) {
        rates = {"50mbit", "8mbit", "4mbit", "1mbit"};
    }
    try {
        run(argc > 1 ? std::atoi(argv[1]) : 8, rates);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s: %s\n", argv[0], failure.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
