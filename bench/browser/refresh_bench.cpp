// Measures the cost of one refresh of the robot list, and event-loop stalls while robots come and
// go.
//
//   tests/support/run_isolated -- build/release/bench/bench_browser_refresh [SECONDS]

#include "announced.h"
#include "bench/figures.h"
#include "browserobots_dialog.h"
#include "costly_pictures.h"

#include <QApplication>
#include <QBuffer>
#include <QElapsedTimer>
#include <QImage>
#include <QTimer>
#include <QTreeWidget>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <random>
#include <thread>

using KD::BrowseRobotsDialog;

namespace {

using bench::median;

constexpr int a_passes = 15;

/** Returns the median duration of a call in milliseconds. */
template <class Call>
double measure(Call call) {
    std::vector<double> times;
    for (int pass = 0; pass < a_passes; ++pass) {
        QElapsedTimer timer;
        timer.start();
        call();
        times.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }
    return median(times);
}

QByteArray icon() {
    QImage image(64, 64, QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            image.setPixel(x, y, qRgba(x * 4, y * 4, (x * y) % 256, 255));
        }
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

std::string hostName(int index) {
    return "robot" + std::to_string(index) + ".local";
}

void announce(obvista_test::Announced& announced, int index, const QByteArray& picture) {
    const auto profile = announced.robot(hostName(index), 9559, "10.0.0.1");
    if (!picture.isEmpty()) {
        KVValue bitmap;
        bitmap.SetBinary(picture.constData(), picture.size());
        profile->setBitmapBinary(bitmap);
    }
}

/** Lower bound: decodes the same pictures without a list. */
double decodeOnly(int rows, const QByteArray& picture) {
    return measure([&] {
        for (int row = 0; row < rows; ++row) {
            QImage image;
            image.loadFromData(picture);
        }
    });
}

void measurePasses() {
    const QByteArray picture = icon();
    std::printf("one refresh pass, ms, median of %d\n", a_passes);
    std::printf("%6s  %12s  %12s  %22s\n", "rows", "file icons", "own icons",
                "floor: decoding them");
    for (const int rows : {10, 100, 1000}) {
        double times[2] = {};
        for (const bool own : {false, true}) {
            obvista_test::Announced announced;
            for (int row = 0; row < rows; ++row) {
                announce(announced, row, own ? picture : QByteArray());
            }
            BrowseRobotsDialog dialog(nullptr, QString(), QString());
            dialog.show();
            times[own ? 1 : 0] = measure([&dialog] { dialog.updateRobotList(); });
        }
        std::printf("%6d  %12.2f  %12.2f  %22.2f\n", rows, times[0], times[1],
                    decodeOnly(rows, picture));
    }
}

/** Returns the longest time between two turns of the event loop, in ms. */
double longestHold(std::chrono::seconds duration) {
    QElapsedTimer sinceTurn;
    double longest = 0;
    QTimer turns;
    QObject::connect(&turns, &QTimer::timeout, [&] {
        longest = std::max(longest, static_cast<double>(sinceTurn.nsecsElapsed()) / 1e6);
        sinceTurn.start();
    });
    QTimer::singleShot(duration, qApp, &QCoreApplication::quit);
    sinceTurn.start();
    turns.start(0);
    QApplication::exec();
    return longest;
}

void measureChurn(std::chrono::seconds duration) {
    const QByteArray picture = icon();
    obvista_test::Announced announced;
    BrowseRobotsDialog dialog(nullptr, QString(), QString());
    dialog.show();
    const double idle = longestHold(std::min(duration, std::chrono::seconds(5)));

    std::atomic<bool> ended{false};
    std::thread network([&] {
        std::mt19937 random(1);
        while (!ended) {
            const int robot = static_cast<int>(random() % 100);
            if (random() % 2 == 0) {
                announce(announced, robot, picture);
            } else {
                announced.withdraw(hostName(robot));
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    });
    const double busy = longestHold(duration);
    ended = true;
    network.join();
    std::printf(
        "longest hold of the event loop, ms: %.1f while 100 robots come and go for %lld s; "
        "%.1f without robots\n",
        busy, static_cast<long long>(duration.count()), idle);
}

/** Measures robots that all have one of the pictures that take longest to decode. */
void measureWorstPictures(std::chrono::seconds duration) {
    constexpr int robots = 50;
    std::printf("%34s  %12s  %22s\n", "picture", "decoding, ms", "hold among 50 such, ms");
    for (const obvista_test::CostlyPicture& picture : obvista_test::worstAcceptedPictures()) {
        std::vector<double> times;
        for (int pass = 0; pass < a_passes; ++pass) {
            times.push_back(obvista_test::timeToDecode(picture.fBytes));
        }
        obvista_test::Announced announced;
        for (int robot = 0; robot < robots; ++robot) {
            announce(announced, robot, picture.fBytes);
        }
        BrowseRobotsDialog dialog(nullptr, QString(), QString());
        dialog.show();
        longestHold(std::chrono::seconds(1));  // the first refresh creates the rows
        std::printf("%34s  %12.2f  %22.1f\n", picture.fName, median(times), longestHold(duration));
    }
}

}  // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    measurePasses();
    measureWorstPictures(std::chrono::seconds(4));
    measureChurn(std::chrono::seconds(argc > 1 ? std::atoi(argv[1]) : 60));
    return 0;
}
