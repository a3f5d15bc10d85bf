// Measures what the bridge to ROS 2 adds between the write in DDS and a client: the age of values
// and pictures of a robot that Fast DDS publishes, when a subscriber and a watcher receive them,
// and when the camera viewer has painted them on the screen, compared with a plain reader of
// Cyclone DDS in the same run; the bridge's processor time; and whether the newest values arrive.
//
//   bridge_bench [SECONDS]
//
// SECONDS is the duration of each measurement (default 20). It needs an X server:
// tests/support/run_isolated --display xvfb -- PROGRAM.
#include "bench/figures.h"
#include "bench/screen/screen_watch.h"
#include "child_process.h"
#include "free_port.h"
#include "project_files.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_frame_stream.h>
#include <robaxi/kv_subscription.h>

#include <QGuiApplication>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <ros2/domain.h>
#include <ros2/raw_type.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using obvista_test::builtFile;
using obvista_test::ChildProcess;

constexpr int a_domain = 101;
constexpr int a_joints = 40;
constexpr int a_jointRate = 200;
constexpr int a_frameRate = 30;
constexpr int a_floodRate = 10'000;
constexpr int a_timeOut = 20;  // seconds
constexpr std::chrono::seconds a_warmUp(3);
constexpr double a_subscribed = 1000;    // updates a second
constexpr std::size_t a_mostTaken = 64;  // samples at once
// The robot publishes the time of the stamp, in seconds, as the velocity of each joint.
constexpr const char* a_stampKey = "Joint/HeadYaw/Velocity";
constexpr const char* a_camera = "camera/image_raw";
constexpr int a_width = 640;
constexpr int a_height = 480;

/** Returns seconds since 1970. */
double now() {
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

/** Ages of what has arrived. */
class Ages {
  public:
    void add(double stamp) {
        const double age = now() - stamp;
        const std::lock_guard lock(fMutex);
        fAges.push_back(age);
        fNewest = stamp;
    }
    void clear() {
        const std::lock_guard lock(fMutex);
        fAges.clear();
    }
    std::vector<double> milliseconds() {
        const std::lock_guard lock(fMutex);
        std::vector<double> result;
        for (const double age : fAges) {
            result.push_back(age * 1e3);
        }
        return result;
    }
    /** Returns the stamp of the one that arrived last. */
    double newest() {
        const std::lock_guard lock(fMutex);
        return fNewest;
    }

  private:
    std::mutex fMutex;  // guards the following members
    std::vector<double> fAges;
    double fNewest = 0;
};

/** Reads a topic with Cyclone DDS alone. */
class PlainReader {
  public:
    PlainReader(dds_entity_t participant, const std::string& topic, const std::string& type)
        : fTopic(bridge::createRawTopic(participant, topic, type, fArrivals)),
          fWaitset(bridge::created(dds_create_waitset(participant), "a wait set")) {
        constexpr std::size_t largest = 64UL << 20U;
        fArrivals->fLargest = largest;
        dds_qos_t* const qos = dds_create_qos();
        dds_qset_reliability(qos, DDS_RELIABILITY_BEST_EFFORT, 0);
        dds_qset_history(qos, DDS_HISTORY_KEEP_LAST, a_mostTaken);
        fReader = bridge::created(dds_create_reader(participant, fTopic.fEntity, qos, nullptr),
                                  "a reader");
        dds_delete_qos(qos);
        dds_set_status_mask(fReader.get(), DDS_DATA_AVAILABLE_STATUS);
        dds_waitset_attach(fWaitset.get(), fReader.get(), 0);
        fThread = std::thread([this] { xRun(); });
    }
    ~PlainReader() {
        fIsEnding = true;
        fThread.join();
    }
    PlainReader(const PlainReader&) = delete;
    PlainReader& operator=(const PlainReader&) = delete;

    Ages& ages() { return fAges; }

  private:
    void xRun() {
        while (!fIsEnding) {
            dds_waitset_wait(fWaitset.get(), nullptr, 0, DDS_MSECS(100));
            for (const bridge::TakenSample& sample : bridge::takeRaw(fReader.get(), a_mostTaken)) {
                // The stamp is the first field of the header, behind the encapsulation.
                const ros2_message::Bytes bytes = sample.fSample->bytes();
                std::array<std::uint32_t, 2> stamp{};
                if (bytes.fSize >= 4 + sizeof stamp) {
                    std::memcpy(stamp.data(), bytes.fData + 4, sizeof stamp);
                    fAges.add(stamp[0] + stamp[1] * 1e-9);
                }
            }
        }
    }

    const std::shared_ptr<bridge::Arrivals> fArrivals = std::make_shared<bridge::Arrivals>();
    const bridge::RawTopic fTopic;
    const bridge::Entity fWaitset;
    bridge::Entity fReader;
    Ages fAges;
    std::atomic<bool> fIsEnding{false};
    std::thread fThread;
};

/** The ages of the newest values of a client's updates. */
KVSubscription::Callbacks valueCallbacks(Ages& ages) {
    const auto id = std::make_shared<std::atomic<std::uint32_t>>(0);
    KVSubscription::Callbacks callbacks;
    callbacks.fKeysAdded = [id](const std::vector<KVKeyInfo>& keys) {
        for (const KVKeyInfo& key : keys) {
            if (key.fName == a_stampKey) {
                *id = key.fId;
            }
        }
    };
    callbacks.fValuesChanged = [id, &ages](const std::vector<KVChange>& changes) {
        for (const KVChange& change : changes) {
            if (change.fId == *id) {
                ages.add(change.fValue.toFloat());
            }
        }
    };
    return callbacks;
}

KVFrameStream::Callbacks frameCallbacks(Ages& ages) {
    KVFrameStream::Callbacks callbacks;
    callbacks.fFrameReceived = [&ages](const KVFrame& frame, std::uint64_t) {
        ages.add(static_cast<double>(frame.fTime) * 1e-6);
    };
    return callbacks;
}

void compareAges(const char* what, Ages& ours, Ages& plain) {
    constexpr double most = 0.95;
    std::vector<double> ourAges = ours.milliseconds();
    std::vector<double> plainAges = plain.milliseconds();
    if (ourAges.empty() || plainAges.empty()) {
        throw std::runtime_error(std::string("nothing has arrived: ") + what);
    }
    const std::string name = what;
    bench::compare((name + ", median").c_str(), bench::median(ourAges), bench::median(plainAges),
                   "ms");
    bench::compare((name + ", 95 %").c_str(), bench::quantile(ourAges, most),
                   bench::quantile(plainAges, most), "ms");
    bench::compare((name + ", number").c_str(), static_cast<double>(ourAges.size()),
                   static_cast<double>(plainAges.size()), "");
}

void waitUntil(const char* what, const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(a_timeOut);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            throw std::runtime_error(std::string("not in time: ") + what);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

/** The processor share of a process during an interval. */
double processorShare(pid_t process, int seconds) {
    const double before = bench::processorSeconds(process);
    const double begin = now();
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    return (bench::processorSeconds(process) - before) / (now() - begin);
}

/** Measures the age of the pictures on the screen, while only the camera viewer watches. */
void measureScreen(int port, Ages& plain, int seconds) {
    ChildProcess viewer({builtFile("bench/cameraviewer_bench_viewer"),
                         builtFile("lib/obvista/libcameraviewer.so"), std::to_string(port),
                         std::to_string(a_width), std::to_string(a_height)});
    const bench::ScreenWatch watch(bench::shownRectOf(viewer));
    watch.follow(a_warmUp, [](const obvista_test::FrameStamp&) {});
    plain.clear();
    Ages painted;
    constexpr double second = 1e-6;
    watch.follow(std::chrono::seconds(seconds), [&](const obvista_test::FrameStamp& stamp) {
        painted.add(static_cast<double>(stamp.fTime) * second);
    });
    compareAges("age on the screen", painted, plain);
}

void measureFlood(pid_t bridge, const std::string& domain, int seconds) {
    const ChildProcess flood(
        {builtFile("tests/ros2_writer"), "flood", domain, std::to_string(a_floodRate)});
    std::this_thread::sleep_for(std::chrono::seconds(2));  // until it is found
    std::printf(
        "processor share of the bridge: %.1f %% of a core (a topic with %d samples a "
        "second)\n",
        processorShare(bridge, seconds) * 100, a_floodRate);
}

void measure(int seconds) {
    const std::string domain = std::to_string(a_domain);
    const int port = obvista_test::freePort();
    ChildProcess program({builtFile("bin/robaxi-bridge"), "--domain", domain, "--port",
                          std::to_string(port), "--http-port", "0", "--no-announce"});
    if (!program.waitForOutput("listens on")) {
        throw std::runtime_error("the bridge has not started: " + program.errors());
    }
    ChildProcess robot({builtFile("tests/ros2_writer"), "robot", domain, std::to_string(a_joints),
                        std::to_string(a_jointRate), std::to_string(a_frameRate)});
    const bridge::Entity entered = bridge::createDomain(a_domain, "");
    const bridge::Entity participant =
        bridge::created(dds_create_participant(a_domain, nullptr, nullptr), "a participant");
    PlainReader plainValues(participant.get(), "rt/joint_states",
                            "sensor_msgs::msg::dds_::JointState_");
    PlainReader plainFrames(participant.get(), "rt/camera/image_raw",
                            "sensor_msgs::msg::dds_::Image_");
    const auto broker = KVBroker::createBroker({"bench"});
    const auto connection = KVConnection::open(broker, "127.0.0.1", port, a_timeOut);
    Ages values;
    Ages frames;
    const auto subscription =
        KVSubscription::start(connection, "KVMemory", KVSubscription::Selection::AllKeys,
                              a_subscribed, valueCallbacks(values));
    waitUntil("values", [&] { return values.newest() != 0 && plainValues.ages().newest() != 0; });
    auto stream = KVFrameStream::start(connection, "KVVideo", a_camera, frameCallbacks(frames));
    waitUntil("frames", [&] { return frames.newest() != 0 && plainFrames.ages().newest() != 0; });

    const std::vector<Ages*> all{&values, &frames, &plainValues.ages(), &plainFrames.ages()};
    for (Ages* const ages : all) {
        ages->clear();
    }
    const double share = processorShare(program.pid(), seconds);
    bench::printHeading("Cyclone", "bridge");
    compareAges("age of values", values, plainValues.ages());
    compareAges("age of frames", frames, plainFrames.ages());
    std::printf(
        "processor share of the bridge: %.1f %% of a core (%d joints at %d Hz, which are "
        "%d values a second, and a camera at %d)\n",
        share * 100, a_joints, a_jointRate, a_joints * a_jointRate, a_frameRate);

    stream.reset();
    measureScreen(port, plainFrames.ages(), seconds);

    // The last message that a reader of DDS has seen must be the subscriber's newest value, too.
    ::kill(robot.pid(), SIGSTOP);
    waitUntil("the newest values", [&] {
        constexpr double resolution = 1e-6;
        return std::abs(values.newest() - plainValues.ages().newest()) < resolution;
    });
    std::puts("the newest values have arrived");
    measureFlood(program.pid(), domain, seconds / 2);
}

}  // namespace

int main(int argc, char** argv) {
    const QGuiApplication application(argc, argv);
    constexpr int usualSeconds = 20;
    try {
        measure(argc > 1 ? std::atoi(argv[1]) : usualSeconds);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "bridge_bench: %s\n", failure.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
