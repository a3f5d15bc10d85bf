// Seeks in an hour's recording, as a viewer does: from the call until the values and the frame of
// the position have arrived over the network.
#include "robot_process.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_frame_stream.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_subscription.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>
#include <mutex>
#include <random>
#include <recording/writer.h>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint64_t a_start = 1'700'000'000'000'000'000;
constexpr std::uint64_t a_millisecond = 1'000'000;
constexpr std::uint64_t a_hour = 3'600'000 * a_millisecond;
constexpr std::uint64_t a_period = 100 * a_millisecond;
constexpr int a_fastKeys = 50;
constexpr int a_slowKeys = 950;
constexpr std::size_t a_frameBytes = 8'000;
constexpr int a_seeks = 1000;
constexpr double a_most = 200;  ///< milliseconds
constexpr std::chrono::seconds a_patience(30);

std::string littleEndian(std::uint32_t number) {
    std::string bytes;
    for (int i = 0; i < 4; ++i) {
        bytes += static_cast<char>(number >> (8 * i) & 0xFFU);
    }
    return bytes;
}

/** A grey picture of one row, as foxglove.RawImage. */
std::string picture(std::mt19937& random) {
    std::string pixels(a_frameBytes, '\0');
    std::generate(pixels.begin(), pixels.end(), [&random] { return static_cast<char>(random()); });
    // The length of the data as two groups of seven bits.
    const std::string length{static_cast<char>((a_frameBytes & 0x7FU) | 0x80U),
                             static_cast<char>(a_frameBytes >> 7U)};
    return "\x15" + littleEndian(a_frameBytes) + "\x1D" + littleEndian(1) + "\x22\x05mono8\x2D" +
           littleEndian(a_frameBytes) + "\x32" + length + pixels;
}

/** Ten values a second of each fast key, one a minute of each slow one, ten pictures a second. */
void record(const std::string& path) {
    recording::WriterOptions options;
    options.fOverwrites = true;
    recording::Writer writer(path, options);
    writer.writeMetadata({"robot", {{"name", "walker"}, {"topics", "/walker"}}});
    const std::uint16_t schema = writer.addSchema("robaxi.Float", "jsonschema", "{}");
    std::vector<std::uint16_t> keys;
    for (int i = 0; i < a_fastKeys + a_slowKeys; ++i) {
        const std::string key = (i < a_fastKeys ? "Fast/" : "Slow/") + std::to_string(i);
        keys.push_back(writer.addChannel(schema, "/walker/memory/" + key, "json", {{"key", key}}));
    }
    const std::uint16_t camera =
        writer.addChannel(writer.addSchema("foxglove.RawImage", "protobuf", ""),
                          "/walker/camera/head", "protobuf", {{"camera", "head"}});
    std::mt19937 random(1);
    const std::string image = picture(random);
    std::uint32_t moment = 0;
    for (std::uint64_t time = a_start; time <= a_start + a_hour; time += a_period, ++moment) {
        const std::string value = "{\"value\":" + std::to_string(moment) + ".5}";
        for (int i = 0; i < a_fastKeys; ++i) {
            writer.write({keys[static_cast<std::size_t>(i)], 0, time, time, value});
        }
        for (int i = 0; i < a_slowKeys; ++i) {
            if ((moment + static_cast<std::uint32_t>(i)) % 600 == 0) {
                writer.write(
                    {keys[static_cast<std::size_t>(a_fastKeys + i)], 0, time, time, value});
            }
        }
        writer.write({camera, moment, time, time, image});
    }
    writer.finish();
}

/** The times of the newest value and the newest frame that have arrived. */
class Arrivals {
  public:
    KVSubscription::Callbacks ofValues() {
        KVSubscription::Callbacks callbacks;
        callbacks.fValuesChanged = [this](const std::vector<KVChange>& changes) {
            const std::lock_guard lock(fMutex);
            for (const KVChange& change : changes) {
                fValues[change.fId] = change.fTime;
            }
            fArrived.notify_all();
        };
        return callbacks;
    }
    KVFrameStream::Callbacks ofFrames() {
        KVFrameStream::Callbacks callbacks;
        callbacks.fFrameReceived = [this](const KVFrame& frame, std::uint64_t /*passedOver*/) {
            const std::lock_guard lock(fMutex);
            fFrame = frame.fTime;
            fArrived.notify_all();
        };
        return callbacks;
    }
    /** Waits until the values of all fast keys, and the frame, are those of a time. */
    bool waitFor(std::int64_t time) {
        std::unique_lock lock(fMutex);
        return fArrived.wait_for(lock, a_patience, [&] {
            const auto newest =
                std::count_if(fValues.begin(), fValues.end(),
                              [&](const auto& each) { return each.second == time; });
            return newest >= a_fastKeys && fFrame == time;
        });
    }

  private:
    std::mutex fMutex;
    std::condition_variable fArrived;
    std::map<std::uint32_t, std::int64_t> fValues;
    std::int64_t fFrame = 0;
};

/** Returns the times of the seeks in milliseconds; fewer if one was not answered. */
std::vector<double> seek(int port) {
    const auto broker = KVBroker::createBroker({"bench"});
    const auto connection =
        KVConnection::open(broker, obvista_test::RobotProcess::address(), port, 30);
    KVProxy replay("KVReplay", connection, 30);
    Arrivals arrivals;
    const auto values = KVSubscription::start(
        connection, "KVMemory", KVSubscription::Selection::AllKeys, 1000, arrivals.ofValues());
    const auto frames = KVFrameStream::start(connection, "KVVideo", "head", arrivals.ofFrames());
    std::mt19937_64 random(2);
    std::vector<double> times;
    for (int i = 0; i < a_seeks; ++i) {
        const std::uint64_t moment = random() % (a_hour / a_period + 1);
        const auto time = static_cast<std::int64_t>((a_start + moment * a_period) / 1000);
        const Clock::time_point start = Clock::now();
        replay.callValue("seek", {time});
        if (!arrivals.waitFor(time)) {
            std::cerr << "The values of " << time << " have not arrived.\n";
            return times;
        }
        times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
    return times;
}

}  // namespace

int main() {
    const std::string path =
        (std::filesystem::temp_directory_path() / "recording_seek_bench.mcap").string();
    record(path);
    std::vector<double> times;
    {
        obvista_test::RobotProcess::Settings settings;
        settings.fArguments = {"--replay", path, "--paused"};
        const obvista_test::RobotProcess robot(settings);
        times = seek(robot.port());
    }
    const auto bytes = static_cast<double>(std::filesystem::file_size(path));
    std::filesystem::remove(path);
    if (times.size() < a_seeks) {
        return 1;
    }
    std::sort(times.begin(), times.end());
    const auto late =
        std::count_if(times.begin(), times.end(), [](double time) { return time > a_most; });
    std::printf(
        "%d seeks in an hour of %d keys and a camera (%.0f MB), until the values and the "
        "frame have arrived: median %.1f ms, 99 %% within %.1f ms, longest %.1f ms, %ld "
        "beyond %.0f ms\n",
        a_seeks, a_fastKeys + a_slowKeys, bytes / 1e6, times[times.size() / 2],
        times[times.size() * 99 / 100], times.back(), static_cast<long>(late), a_most);
    return 0;
}
