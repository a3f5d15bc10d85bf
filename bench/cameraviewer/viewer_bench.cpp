// Measures rate and latency of the camera viewer, compared with a window that puts each frame into
// a label. The robot, the viewer and this program are separate processes. This program reads number
// and time from the picture on the screen, so it measures the user's view. It reads every
// millisecond or two, which the times include.
//
//   cameraviewer_bench [SECONDS [KIND|FORMAT...]]
//
// SECONDS is the duration of each measurement (default 10; 1800 to see whether memory stays
// constant). KINDs are viewer, label, image_view (ROS's viewer, if this was built with it) and
// slowed (the viewer with a tenth of its processor time), FORMATs rgb and jpeg; the default is all.
// It needs an X server: tests/support/run_isolated --display xvfb -- PROGRAM.
//
// Memory growth is the slope of a line fitted to one reading a second: a single reading varies by
// the frames in flight, each of nearly a megabyte.
#include "bench/figures.h"
#include "bench/screen/screen_watch.h"
#include "ros_master.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_proxy.h>

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <atomic>
#include <child_process.h>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <project_files.h>
#include <robot_process.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using obvista_test::builtFile;
using obvista_test::ChildProcess;
using obvista_test::FrameStamp;
using obvista_test::RobotProcess;
using Clock = std::chrono::steady_clock;

struct Camera {
    const char* fName;
    int fWidth;
    int fHeight;
    const char* fFormat;
};

constexpr std::array a_cameras{Camera{"640x480 RGB", 640, 480, "rgb"},
                               Camera{"1280x720 JPEG", 1280, 720, "jpeg"}};
constexpr double a_rate = 30;
constexpr std::chrono::seconds a_warmUp{3};

/** Restricts a process to a tenth of the time. */
class Brake {
  public:
    explicit Brake(ChildProcess& process) : fThread([this, &process] { xRun(process); }) {}
    ~Brake() {
        fStop = true;
        fThread.join();
    }
    Brake(const Brake&) = delete;
    Brake& operator=(const Brake&) = delete;

  private:
    void xRun(ChildProcess& process) {
        while (!fStop) {
            process.signal(SIGSTOP);
            std::this_thread::sleep_for(std::chrono::milliseconds(18));
            process.signal(SIGCONT);
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    }

    std::atomic<bool> fStop{false};
    std::thread fThread;
};

/** Results for one program. */
struct Sighting {
    double fShown = 0;       ///< frames a second
    double fMedian = 0;      ///< milliseconds from the robot's stamp to the screen
    double fPercentile = 0;  ///< 95th
    double fProcessor = 0;   ///< of one core, percent
    double fGrowth = 0;      ///< of resident memory, kB a minute
};

/** Slope of the line fitted to points. */
class Slope {
  public:
    void add(double x, double y) { fPoints.emplace_back(x, y); }

    double value() const {
        const auto count = static_cast<double>(fPoints.size());
        double meanX = 0;
        double meanY = 0;
        for (const auto& [x, y] : fPoints) {
            meanX += x / count;
            meanY += y / count;
        }
        double rise = 0;
        double run = 0;
        for (const auto& [x, y] : fPoints) {
            rise += (x - meanX) * (y - meanY);
            run += (x - meanX) * (x - meanX);
        }
        return run > 0 ? rise / run : 0;
    }

  private:
    std::vector<std::pair<double, double>> fPoints;
};

void set(int port, const Camera& camera) {
    const auto broker = KVBroker::createBroker({"Bench"});
    KVProxy video("KVVideo", "127.0.0.1", port, broker, 5, 0);
    const KVValue::Map settings{{"width", KVValue(camera.fWidth)},
                                {"height", KVValue(camera.fHeight)},
                                {"format", KVValue(camera.fFormat)},
                                {"rate", KVValue(a_rate)}};
    video.callValue("setSettings", {KVValue("head"), KVValue(settings)});
}

double residentKilobytes(pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    std::string word;
    while (status >> word) {
        if (word == "VmRSS:") {
            double kilobytes = 0;
            status >> kilobytes;
            return kilobytes;
        }
    }
    return 0;
}

double seconds(Clock::duration duration) {
    return std::chrono::duration<double>(duration).count();
}

Sighting observe(ChildProcess& program, const bench::ShownRect& rect, double time) {
    const bench::ScreenWatch watch(rect);
    int early = 0;
    watch.follow(a_warmUp, [&early](const FrameStamp&) { ++early; });
    if (early == 0) {
        throw std::runtime_error("no frame can be read off the screen: " + program.errors());
    }
    std::vector<double> ages;
    const double processor = bench::processorSeconds(program.pid());
    Slope memory;
    const auto begin = Clock::now();
    auto nextReading = begin;
    const auto readMemory = [&] {
        if (const auto now = Clock::now(); now >= nextReading) {
            memory.add(seconds(now - begin), residentKilobytes(program.pid()));
            nextReading += std::chrono::seconds(1);
        }
    };
    watch.follow(
        std::chrono::duration<double>(time),
        [&ages](const FrameStamp& stamp) { ages.push_back(bench::ageInMilliseconds(stamp)); },
        readMemory);
    const double length = seconds(Clock::now() - begin);
    if (ages.empty()) {
        throw std::runtime_error("no frame was shown: " + program.errors());
    }
    constexpr double minute = 60;
    Sighting sighting;
    sighting.fShown = static_cast<double>(ages.size()) / length;
    sighting.fMedian = bench::median(ages);
    sighting.fPercentile = bench::quantile(ages, 0.95);
    sighting.fProcessor = 100 * (bench::processorSeconds(program.pid()) - processor) / length;
    sighting.fGrowth = memory.value() * minute;
    return sighting;
}

std::vector<std::string> command(const std::string& kind, const Camera& camera, int port) {
    const std::vector<std::string> size{std::to_string(port), std::to_string(camera.fWidth),
                                        std::to_string(camera.fHeight)};
    std::vector<std::string> words{builtFile("bench/cameraviewer_bench_label")};
    if (kind != "label") {
        words = {builtFile("bench/cameraviewer_bench_viewer"),
                 builtFile("lib/obvista/libcameraviewer.so")};
    }
    words.insert(words.end(), size.begin(), size.end());
    return words;
}

void print(const Camera& camera, const std::string& kind, const Sighting& sighting) {
    std::printf(
        "%-14s %-10s %6.1f shown a second   %6.1f ms median %6.1f ms 95th percentile"
        "   %5.1f %% of a core   %+8.1f kB a minute\n",
        camera.fName, kind.c_str(), sighting.fShown, sighting.fMedian, sighting.fPercentile,
        sighting.fProcessor, sighting.fGrowth);
    std::fflush(stdout);
}

void measure(const std::string& kind, const Camera& camera, double time) {
    const RobotProcess robot({{"--stamp"}});
    set(robot.port(), camera);
    ChildProcess program(command(kind, camera, robot.port()));
    const bench::ShownRect rect = bench::shownRectOf(program);
    std::optional<Brake> brake;
    if (kind == "slowed") {
        brake.emplace(program);
    }
    print(camera, kind, observe(program, rect, time));
}

#ifdef OBVISTA_ROS_IMAGE_VIEW_LIBRARY

bench::ShownRect findOnScreen(ChildProcess& program, const Camera& camera) {
    const auto end = Clock::now() + ChildProcess::a_patience;
    while (Clock::now() < end) {
        if (const std::optional<bench::ShownRect> rect = bench::ScreenWatch::find(camera.fWidth)) {
            return *rect;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    throw std::runtime_error("no picture is shown: " + program.output() + program.errors());
}

/**
 * Creates the description through which ROS finds the viewer's plugins; Debian's package lacks it.
 */
void describeImageView(const QString& folder) {
    const QDir package(folder + QStringLiteral("/image_view"));
    package.mkpath(QStringLiteral("lib"));
    const auto write = [&package](const char* name, const char* text) {
        std::ofstream(package.filePath(QLatin1String(name)).toStdString()) << text;
    };
    write("package.xml",
          "<package><name>image_view</name><version>1.0.0</version><description/>"
          "<maintainer email='none@localhost'>none</maintainer><license>BSD</license>"
          "<run_depend>nodelet</run_depend>"
          "<export><nodelet plugin='${prefix}/plugins.xml'/></export></package>");
    write("plugins.xml",
          "<library path='lib/libimage_view'><class name='image_view/image' "
          "type='image_view::ImageNodelet' base_class_type='nodelet::Nodelet'>"
          "<description/></class></library>");
    QFile::link(QStringLiteral(OBVISTA_ROS_IMAGE_VIEW_LIBRARY),
                package.filePath(QStringLiteral("lib/libimage_view.so")));
    ::setenv("ROS_PACKAGE_PATH", (folder.toStdString() + ":/usr/share").c_str(), 1);
}

void measureImageView(const Camera& camera, double time) {
    const QTemporaryDir folder;
    describeImageView(folder.path());
    const RobotProcess robot({{"--stamp"}});
    set(robot.port(), camera);
    const bench::RosMaster master;
    const ChildProcess publisher(
        {builtFile("bench/cameraviewer_bench_ros"), std::to_string(robot.port())});
    ChildProcess program({"/usr/lib/image_view/image_view", "image:=/image", "_autosize:=true"});
    print(camera, "image_view", observe(program, findOnScreen(program, camera), time));
}

#endif

void measureKind(const std::string& kind, const Camera& camera, double time) {
#ifdef OBVISTA_ROS_IMAGE_VIEW_LIBRARY
    if (kind == "image_view") {
        try {
            measureImageView(camera, time);
        } catch (const std::exception& failure) {
            std::printf("image_view: takes no part: %s\n", failure.what());
        }
        return;
    }
#endif
    measure(kind, camera, time);
}

std::vector<std::string> allKinds() {
    std::vector<std::string> kinds{"viewer", "label", "slowed"};
#ifdef OBVISTA_ROS_IMAGE_VIEW_LIBRARY
    kinds.insert(kinds.begin() + 2, "image_view");
#endif
    return kinds;
}

const std::string& wordFor(const std::string& kind) {
    return kind;
}

std::string wordFor(const Camera& camera) {
    return camera.fFormat;
}

/** Returns those named by an argument; all if none is named. */
template <typename All>
std::vector<typename All::value_type> wanted(const All& all,
                                             const std::vector<std::string>& words) {
    std::vector<typename All::value_type> named;
    std::copy_if(all.begin(), all.end(), std::back_inserter(named), [&](const auto& each) {
        return std::find(words.begin(), words.end(), wordFor(each)) != words.end();
    });
    if (named.empty()) {
        named.assign(all.begin(), all.end());
    }
    return named;
}

}  // namespace

int main(int argc, char** argv) {
    const QGuiApplication application(argc, argv);
    const double time = argc > 1 ? std::atof(argv[1]) : 10;
    const std::vector<std::string> words(argv + std::min(argc, 2), argv + argc);
    const std::vector<std::string> kinds = wanted(allKinds(), words);
    try {
        for (const Camera& camera : wanted(a_cameras, words)) {
            for (const std::string& kind : kinds) {
                measureKind(kind, camera, time);
            }
        }
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s: %s\n", argv[0], failure.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
